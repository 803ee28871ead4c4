#pragma once
// Makes an ordinary movie of a recorded one. The movie encoder does so when a recording ends, the movie folder for recordings
// that were interrupted.

#include "Platforms/FFmpeg/Result.h"
#include "Platforms/FFmpeg/TemporaryFile.h"

#include <functional>
#include <string>

namespace videoanalysis::media::ffmpeg {

/// Copies the movie that a MovieFile wrote into `from`, complete or truncated, into an ordinary movie `to` with its index in
/// front, and removes `from`. `to` appears only when it is complete and on the disk. Where there is no room for a copy, `from`
/// itself is renamed to `to`: it plays as well.
///
/// Returns the lock on `to`; an empty one means that the lock on `from` now holds for `to`. Fails when neither works or when
/// `isCancelled`, which is asked often in every phase, returns true; `from` is kept then. Any thread.
Result<LockedFile> remuxMovie(const std::string& from, const std::string& to, const std::function<bool()>& isCancelled);

}  // namespace videoanalysis::media::ffmpeg

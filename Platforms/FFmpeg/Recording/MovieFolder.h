#pragma once
// The folder in which movies grow while they are recorded and stay until their host takes them, even if the program crashes. A
// host makes one and passes it to its platform; when it starts, it asks the folder for recordings that were interrupted or not
// taken, to offer them to the user.

#include "Platforms/FFmpeg/Recording/MovieOptions.h"
#include "VideoAnalysis/Platform/Movie.h"

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace videoanalysis::media {

namespace ffmpeg {
class FinishedMovies;
}

/// Ownership of a recording: while it grows it belongs to the program that records it, which locks the file. Once finalized it
/// belongs to the host, which moves it away, or copies it and calls `recordingTaken`. It stays locked until then or until the
/// program ends; what is left is `untaken` at the next start.
///
/// `makeMovie` on the main thread only, the rest on any thread.
class MovieFolder final : public recording::MovieMaker {
public:
    /// Several programs may share the folder. It is created with the first movie, accessible to its user only (0700), as are the
    /// recordings (0600). Saving is fast when `path` is on the file system that recordings are saved to.
    explicit MovieFolder(const std::string& path, MovieOptions options = {});

    std::unique_ptr<recording::MovieWriter> makeMovie(const recording::MovieFormat& format,
                                                      std::function<void(recording::Error)> opened,
                                                      std::function<void(const std::string&)> brokeOff = {}) override;
    /// The folder itself.
    std::string outputDirectory() const override { return path_; }
    /// Removes a movie that was finished by this folder's writers; ignores others.
    void movieTaken(const URL& movie) override;

    /// The paths of movies that no running program has locked: interrupted ones, and finished ones that were not taken; oldest
    /// first. Removes empty recordings and temporary files that were left behind.
    std::vector<std::string> untaken() const;
    /// Moves a finished movie to the file `output`, or finalizes an interrupted one there; replaces `output`. Blocks for at most
    /// as long as copying takes; `isCancelled` ends it early. On error, which is one line, the movie is kept.
    static recording::Error finish(const std::string& movie, const URL& output, const std::atomic<bool>& isCancelled);

private:
    const std::string path_;
    const MovieOptions options_;
    const std::shared_ptr<ffmpeg::FinishedMovies> finished_;
};

}  // namespace videoanalysis::media

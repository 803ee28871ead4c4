#pragma once
// The folder in which movies grow while they are recorded and where they stay until their host takes them, whatever happens to
// the program. A host makes one and hands it to its platform; at its start it asks the folder for the recordings that were
// interrupted or not taken, to offer them to the user.

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

/// Who owns a recording: while it grows, the program that records it, by a lock on the file. Once finalized it has a name of
/// its own in this folder and belongs to the host, which moves it away, or copies it and calls `recordingTaken`. Until then the
/// lock stays, and what is left when the program ends, however it ends, is `untaken` at the next start.
///
/// `makeMovie` on the main thread, the rest on any.
class MovieFolder final : public recording::MovieMaker {
public:
    /// Several programs may use the same folder. It is made with the first movie, for its user only (0700), as the recordings
    /// are (0600). `path` should be on the same file system as the place that recordings are saved to: moving is quick then.
    explicit MovieFolder(const std::string& path, MovieOptions options = {});

    std::unique_ptr<recording::MovieWriter> makeMovie(const recording::MovieFormat& format,
                                                      std::function<void(recording::Error)> opened,
                                                      std::function<void(const std::string&)> brokeOff = {}) override;
    /// The folder itself.
    std::string outputDirectory() const override { return path_; }
    /// Removes a finished movie that this folder's movies have become; ignores others.
    void movieTaken(const URL& movie) override;

    /// The movies (paths) that no program writes or still offers its host: interrupted ones, and finished ones that were not
    /// taken; oldest first. Removes files in which nothing was recorded, and what finalizing left half done.
    std::vector<std::string> untaken() const;
    /// Moves a finished movie into the file `output`, or makes an ordinary movie of an interrupted one there and removes the
    /// interrupted one then. Replaces `output`. The reason why not, in one line; the movie is kept then. Takes at most as long
    /// as copying; `isCancelled` ends it early.
    static recording::Error finish(const std::string& movie, const URL& output, const std::atomic<bool>& isCancelled);

private:
    const std::string path_;
    const MovieOptions options_;
    const std::shared_ptr<ffmpeg::FinishedMovies> finished_;
};

}  // namespace videoanalysis::media

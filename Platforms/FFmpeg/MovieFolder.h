#pragma once
// The folder in which movies grow while they are recorded. A host makes one and hands it to its platform; at its start it asks
// the folder for the recordings that were interrupted, to offer them back.

#include "Platforms/FFmpeg/MovieEncoder.h"
#include "VideoAnalysis/Platform/Movie.h"

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace videoanalysis::media {

/// `makeMovie` on the main thread, the rest on any.
class MovieFolder final : public recording::MovieMaker {
public:
    /// An absolute path; the folder is made with the first movie. Several programs may use the same one.
    explicit MovieFolder(std::string path, MovieOptions options = {});

    std::unique_ptr<recording::MovieWriter> makeMovie(const recording::MovieFormat& format,
                                                      std::function<void(recording::Error)> opened) override;

    /// The movies (paths) that nobody is writing and that were not finished, oldest first. Those in which nothing was recorded
    /// are removed.
    std::vector<std::string> unfinished() const;
    /// Makes an ordinary movie of an unfinished one in the file `output`, and removes the unfinished one then. The
    /// reason why not, in one line; the unfinished one is kept then. Takes as long as copying; `isCancelled` ends it early.
    static recording::Error finish(const std::string& movie, const URL& output, const std::atomic<bool>& isCancelled);

private:
    const std::string path_;
    const MovieOptions options_;
};

}  // namespace videoanalysis::media

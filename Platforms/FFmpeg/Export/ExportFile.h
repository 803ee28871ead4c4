#pragma once
// The file that an export writes: under a hidden name in the target's folder until it is complete, so that nobody ever finds
// half a clip. The export job fills it.

#include "Platforms/FFmpeg/LibraryHandles.h"
#include "Platforms/FFmpeg/TemporaryFile.h"

#include <cstdint>
#include <memory>
#include <string>

namespace videoanalysis::media::ffmpeg {

/// Used by one thread.
class ExportFile {
public:
    /// Begins the file that will be `target`, a path whose extension names the container. Null on failure, with the reason in
    /// `error`.
    static std::unique_ptr<ExportFile> make(const std::string& target, std::string& error);
    ExportFile(const ExportFile&) = delete;
    ExportFile& operator=(const ExportFile&) = delete;
    /// Unless it is finished, nothing is left.
    ~ExportFile();

    const AVOutputFormat* container() const { return format_->oformat; }
    bool accepts(AVCodecID codec) const;
    /// Whether the container may call `codec` by `tag`, four characters, the first lowest.
    bool hasTag(AVCodecID codec, std::uint32_t tag) const;
    AVFormatContext* format() { return format_.get(); }

    /// After the streams have been added. These return 0 or the library's error.
    int writeHeader();
    /// `packet` has times in `timeBase` and becomes empty.
    int write(AVPacket& packet, int stream, AVRational timeBase);
    /// Completes the file and gives it its name. False on failure, with the reason in `error`.
    bool finish(std::string& error);

private:
    struct Deleter {
        void operator()(AVFormatContext* context) const;
    };

    ExportFile() = default;

    std::string target_;
    std::unique_ptr<TemporaryFile> file_;
    std::unique_ptr<AVFormatContext, Deleter> format_;
};

}  // namespace videoanalysis::media::ffmpeg

#pragma once
// The container file that an export writes, under a hidden name in the target's folder until it is complete. The export job
// fills it.

#include "Platforms/FFmpeg/LibraryHandles.h"
#include "Platforms/FFmpeg/Result.h"
#include "Platforms/FFmpeg/TemporaryFile.h"

#include <cstdint>
#include <memory>
#include <string>

namespace videoanalysis::media::ffmpeg {

/// Used by one thread.
class ExportFile {
public:
    /// Creates the file that will become `target`, a path whose extension selects the container.
    static Result<std::unique_ptr<ExportFile>> make(const std::string& target);
    ExportFile(const ExportFile&) = delete;
    ExportFile& operator=(const ExportFile&) = delete;
    /// Removes the file unless it was finished.
    ~ExportFile();

    const AVOutputFormat* container() const { return format_->oformat; }
    bool accepts(AVCodecID codec) const;
    /// Whether `tag` (four characters, the first in the lowest byte) stands for `codec` in this container.
    bool hasTag(AVCodecID codec, std::uint32_t tag) const;

    // Streams are numbered from 0 in the order of these calls, before `writeHeader`.

    /// Adds the video stream described by `parameters`, with the time base, rate and orientation of `source`. Its orientation
    /// may instead be stored with `picture`, which may be null.
    Result<void> addVideo(const AVCodecParameters& parameters, const AVStream& source, const AVFrame* picture);
    Result<void> addAudio(const AVCodecContext& encoder);
    /// Copies the metadata of `source`.
    void copyMetadata(const AVFormatContext& source) { av_dict_copy(&format_->metadata, source.metadata, 0); }

    /// After the streams have been added.
    Result<void> writeHeader();
    /// Takes ownership of the data of `packet`, whose times are in `timeBase`.
    Result<void> write(AVPacket& packet, int stream, AVRational timeBase);
    /// Completes the file and renames it to its target. Only destruction is valid afterwards.
    Result<void> finish();

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

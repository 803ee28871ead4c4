#include "Platforms/FFmpeg/Export/ExportFile.h"

#include "Platforms/FFmpeg/Compatibility.h"

extern "C" {
#include <libavutil/avutil.h>
}

#include <span>
#include <utility>

namespace videoanalysis::media::ffmpeg {
namespace {

constexpr mode_t permissions = 0666;  // minus the process's umask, as for any file of the user

Failure outOfMemory() { return {"out of memory"}; }

/// Of a library call that returns a negative value on failure.
Result<void> outcome(int result) {
    if (result < 0) return Failure{libraryError(result)};
    return {};
}

}  // namespace

void ExportFile::Deleter::operator()(AVFormatContext* context) const {
    avio_closep(&context->pb);
    avformat_free_context(context);
}

Result<std::unique_ptr<ExportFile>> ExportFile::make(const std::string& target) {
    const AVOutputFormat* container = av_guess_format(nullptr, target.c_str(), nullptr);
    if (!container) return Failure{"no container is called as " + target + " ends"};
    std::unique_ptr<ExportFile> file(new ExportFile);
    file->target_ = target;
    Result<std::unique_ptr<TemporaryFile>> temporary = TemporaryFile::make(target, permissions);
    if (!temporary) return temporary.failure();
    file->file_ = std::move(*temporary);
    AVFormatContext* format = nullptr;
    int result = avformat_alloc_output_context2(&format, container, nullptr, nullptr);
    if (result >= 0) {
        file->format_.reset(format);
        result = avio_open(&format->pb, ("file:" + file->file_->path()).c_str(), AVIO_FLAG_WRITE);
    }
    if (result < 0) return Failure{libraryError(result)};
    return file;
}

ExportFile::~ExportFile() = default;

bool ExportFile::accepts(AVCodecID codec) const {
    return avformat_query_codec(format_->oformat, codec, FF_COMPLIANCE_NORMAL) == 1;
}

bool ExportFile::hasTag(AVCodecID codec, std::uint32_t tag) const {
    return av_codec_get_id(format_->oformat->codec_tag, tag) == codec;
}

Result<void> ExportFile::addVideo(const AVCodecParameters& parameters, const AVStream& source, const AVFrame* picture) {
    AVStream* video = avformat_new_stream(format_.get(), nullptr);
    if (!video || avcodec_parameters_copy(video->codecpar, &parameters) < 0) return outOfMemory();
    // Most devices expect the parameter sets of H.265 in the header.
    constexpr std::uint32_t tagForSetsInHeader = MKTAG('h', 'v', 'c', '1');
    if (parameters.codec_id == AV_CODEC_ID_HEVC && parameters.codec_tag == 0 &&
        hasTag(parameters.codec_id, tagForSetsInHeader)) {
        video->codecpar->codec_tag = tagForSetsInHeader;
    }
    video->time_base = source.time_base;
    video->avg_frame_rate = source.avg_frame_rate;
    video->sample_aspect_ratio =
        parameters.sample_aspect_ratio.num > 0 ? parameters.sample_aspect_ratio : source.sample_aspect_ratio;
    video->disposition = AV_DISPOSITION_DEFAULT;
    std::span<const std::uint8_t> matrix = displayMatrixOf(source);
    const AVFrameSideData* ofPicture =
        picture && matrix.empty() ? av_frame_get_side_data(picture, AV_FRAME_DATA_DISPLAYMATRIX) : nullptr;
    if (ofPicture) matrix = {ofPicture->data, ofPicture->size};
    if (!matrix.empty() && !setDisplayMatrix(*video, matrix)) return outOfMemory();
    return {};
}

Result<void> ExportFile::addAudio(const AVCodecContext& encoder) {
    AVStream* audio = avformat_new_stream(format_.get(), nullptr);
    if (!audio || avcodec_parameters_from_context(audio->codecpar, &encoder) < 0) return outOfMemory();
    audio->time_base = encoder.time_base;
    audio->disposition = AV_DISPOSITION_DEFAULT;
    return {};
}

Result<void> ExportFile::writeHeader() { return outcome(avformat_write_header(format_.get(), nullptr)); }

Result<void> ExportFile::write(AVPacket& packet, int stream, AVRational timeBase) {
    packet.stream_index = stream;
    packet.pos = -1;
    av_packet_rescale_ts(&packet, timeBase, format_->streams[stream]->time_base);
    const int result = av_interleaved_write_frame(format_.get(), &packet);
    // A full disk first shows in the buffered output.
    return outcome(result < 0 ? result : format_->pb->error);
}

Result<void> ExportFile::finish() {
    int result = av_write_trailer(format_.get());
    if (result >= 0) avio_flush(format_->pb);
    if (result >= 0) result = format_->pb->error;
    const int closed = avio_closep(&format_->pb);
    if (result >= 0) result = closed;
    if (result < 0) return Failure{libraryError(result)};
    if (const Result<void> kept = file_->keep([] { return false; }); !kept) {
        return Failure{"cannot write " + target_ + ": " + kept.failure().message};
    }
    return {};
}

}  // namespace videoanalysis::media::ffmpeg

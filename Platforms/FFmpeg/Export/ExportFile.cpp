#include "Platforms/FFmpeg/Export/ExportFile.h"

extern "C" {
#include <libavutil/avutil.h>
}

#include <algorithm>
#include <utility>

namespace videoanalysis::media::ffmpeg {
namespace {

constexpr mode_t permissions = 0666;  // less the process's mask: an export is a file like any other

}  // namespace

void ExportFile::Deleter::operator()(AVFormatContext* context) const {
    avio_closep(&context->pb);
    avformat_free_context(context);
}

std::unique_ptr<ExportFile> ExportFile::make(const std::string& target, std::string& error) {
    const AVOutputFormat* container = av_guess_format(nullptr, target.c_str(), nullptr);
    if (!container) {
        error = "no container is called as " + target + " ends";
        return nullptr;
    }
    std::unique_ptr<ExportFile> file(new ExportFile);
    file->target_ = target;
    file->file_ = TemporaryFile::make(target, permissions, error);
    if (!file->file_) return nullptr;
    AVFormatContext* format = nullptr;
    int result = avformat_alloc_output_context2(&format, container, nullptr, nullptr);
    if (result >= 0) {
        file->format_.reset(format);
        result = avio_open(&format->pb, ("file:" + file->file_->path()).c_str(), AVIO_FLAG_WRITE);
    }
    if (result < 0) {
        error = libraryError(result);
        return nullptr;
    }
    return file;
}

ExportFile::~ExportFile() = default;

bool ExportFile::accepts(AVCodecID codec) const {
    return avformat_query_codec(format_->oformat, codec, FF_COMPLIANCE_NORMAL) == 1;
}

bool ExportFile::hasTag(AVCodecID codec, std::uint32_t tag) const {
    return av_codec_get_id(format_->oformat->codec_tag, tag) == codec;
}

int ExportFile::writeHeader() { return std::min(avformat_write_header(format_.get(), nullptr), 0); }

int ExportFile::write(AVPacket& packet, int stream, AVRational timeBase) {
    packet.stream_index = stream;
    packet.pos = -1;
    av_packet_rescale_ts(&packet, timeBase, format_->streams[stream]->time_base);
    const int result = av_interleaved_write_frame(format_.get(), &packet);
    // A full disk shows in the buffered output first.
    return result < 0 ? result : format_->pb->error;
}

bool ExportFile::finish(std::string& error) {
    int result = av_write_trailer(format_.get());
    if (result >= 0) avio_flush(format_->pb);
    if (result >= 0) result = format_->pb->error;
    const int closed = avio_closep(&format_->pb);
    if (result >= 0) result = closed;
    if (result < 0) {
        error = libraryError(result);
        return false;
    }
    std::string reason;
    if (file_->keep([] { return false; }, reason)) return true;
    error = "cannot write " + target_ + ": " + reason;
    return false;
}

}  // namespace videoanalysis::media::ffmpeg

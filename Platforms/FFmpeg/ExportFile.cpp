#include "Platforms/FFmpeg/ExportFile.h"

extern "C" {
#include <libavutil/avutil.h>
}

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <random>
#include <utility>

namespace videoanalysis::media {

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
    const std::filesystem::path path(target);
    std::random_device random;
    std::string temporary;
    int descriptor = -1;
    for (int attempt = 0; descriptor < 0 && attempt < 8; ++attempt) {
        temporary = (path.parent_path() / ("." + path.stem().string() + "-" + std::to_string(random()) +
                                           path.extension().string()))
                        .string();
        descriptor = ::open(temporary.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666);
        if (descriptor < 0 && errno != EEXIST) break;
    }
    if (descriptor < 0) {
        error = "cannot write to " + path.parent_path().string() + ": " + std::strerror(errno);
        return nullptr;
    }
    ::close(descriptor);

    std::unique_ptr<ExportFile> file(new ExportFile);
    file->target_ = target;
    file->temporary_ = temporary;
    AVFormatContext* format = nullptr;
    int result = avformat_alloc_output_context2(&format, container, nullptr, nullptr);
    if (result >= 0) {
        file->format_.reset(format);
        result = avio_open(&format->pb, ("file:" + temporary).c_str(), AVIO_FLAG_WRITE);
    }
    if (result < 0) {
        error = libraryError(result);
        return nullptr;
    }
    return file;
}

ExportFile::~ExportFile() {
    format_ = nullptr;
    if (!temporary_.empty()) std::remove(temporary_.c_str());
}

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
    if (std::rename(temporary_.c_str(), target_.c_str()) != 0) {
        error = "cannot write " + target_ + ": " + std::strerror(errno);
        return false;
    }
    temporary_.clear();
    return true;
}

}  // namespace videoanalysis::media

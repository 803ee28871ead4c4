#include "Platforms/FFmpeg/Clips/ClipDecoder.h"

#include <algorithm>
#include <utility>

namespace videoanalysis::media::ffmpeg {

std::unique_ptr<ClipDecoder> ClipDecoder::make(std::unique_ptr<ClipFile> file, std::shared_ptr<PicturePool> pool,
                                               int threads, std::int64_t maxPixels, std::string& error) {
    const AVCodecParameters* parameters = file->stream()->codecpar;
    const AVCodec* codec = avcodec_find_decoder(parameters->codec_id);
    if (!codec) {
        error = std::string("no decoder for ") + avcodec_get_name(parameters->codec_id);
        return nullptr;
    }
    std::unique_ptr<ClipDecoder> decoder(new ClipDecoder);
    decoder->file_ = std::move(file);
    decoder->codec_.reset(avcodec_alloc_context3(codec));
    decoder->packet_.reset(av_packet_alloc());
    if (!decoder->codec_ || !decoder->packet_) {
        error = "out of memory";
        return nullptr;
    }
    AVCodecContext* context = decoder->codec_.get();
    int result = avcodec_parameters_to_context(context, parameters);
    context->pkt_timebase = decoder->file_->stream()->time_base;
    context->thread_count = threads;
    context->max_pixels = maxPixels;
    decoder->pool_ = std::move(pool);
    decoder->pool_->serve(*context);
    if (result >= 0) result = avcodec_open2(context, codec, nullptr);
    if (result < 0) {
        error = libraryError(result);
        return nullptr;
    }
    return decoder;
}

ClipDecoder::~ClipDecoder() {
    codec_ = nullptr;
    if (pool_) pool_->leave();
}

bool ClipDecoder::start(std::int64_t startPacket) {
    runStart_ = -1;
    isDraining_ = false;
    readError_ = 0;
    passedOverBefore_ = 0;
    avcodec_flush_buffers(codec_.get());

    // Where a container's seek lands differs: by presentation time, by decoding time, a group early, or past the goal.
    // Early is harmless, packets are read on to the goal; past it, the next attempt aims lower.
    bool isReached = seekTo(startPacket) && reach(startPacket);
    std::int64_t earlier = startPacket;
    for (int attempt = 0; !isReached && attempt < 3; ++attempt) {
        earlier = index_->startPacketBefore(earlier);
        isReached = seekTo(earlier) && reach(startPacket);
    }
    if (!isReached) isReached = file_->seekToBeginning() && reach(startPacket);
    if (!isReached) isReached = file_->seekToByte(0) && reach(startPacket);
    if (!isReached) return false;
    runStart_ = startPacket;
    nextPacket_ = startPacket;
    firstFrame_ = startPacket == 0 ? 0 : index_->firstFrameFrom(startPacket);
    lastFrame_ = firstFrame_ - 1;
    return true;
}

bool ClipDecoder::canGoOnTo(std::int64_t frame, std::int64_t keepFrom) const {
    if (runStart_ < 0 || frame <= lastFrame_ || frame < firstFrame_) return false;
    if (frame < passedOverBefore_ && index_->packetOfFrame(frame) < nextPacket_) return false;
    constexpr std::int64_t packetsWorthASeek = 16;
    const std::int64_t next = std::min(std::max(keepFrom, lastFrame_ + 1), frame);
    return index_->startPacketFor(next) <= nextPacket_ + packetsWorthASeek;
}

bool ClipDecoder::seekTo(std::int64_t packet) {
    const std::int64_t target = index_->seekTargetOfPacket(packet);
    return index_->isSoughtByPosition() ? file_->seekToByte(target) : file_->seek(target);
}

bool ClipDecoder::reach(std::int64_t startPacket) {
    while (readPacket() >= 0) {
        if (packetNumber_ == startPacket) return true;
        if (packetNumber_ && *packetNumber_ > startPacket) return false;
    }
    return false;
}

int ClipDecoder::readPacket() {
    av_packet_unref(packet_.get());
    const int result = file_->read(packet_.get());
    hasPacket_ = result >= 0;
    if (!hasPacket_) return result;
    packetNumber_ = index_->numberOfPacket(*packet_);
    if (index_->hasDerivedTimes())
        packet_->pts = packetNumber_ ? index_->timestampOfPacket(*packetNumber_) : AV_NOPTS_VALUE;
    return 0;
}

ClipDecoder::Result ClipDecoder::next(std::int64_t keepFrom, FrameHandle& picture, std::int64_t& number) {
    if (runStart_ < 0) return Result::end;
    if (!picture) picture.reset(av_frame_alloc());
    const int received = avcodec_receive_frame(codec_.get(), picture.get());
    if (received >= 0) {
        // Frames before the first one need pictures of the group before, which this run has not decoded.
        const auto frame = index_->frameWithTimestamp(picture->pts);
        if (!frame || *frame < firstFrame_ || *frame <= lastFrame_) return Result::pending;
        lastFrame_ = *frame;
        number = *frame;
        return Result::frame;
    }
    // Anything but "again" and the end is a picture that cannot be decoded; the next one may be.
    constexpr int mostFailuresWhileDraining = 64;
    if (received == AVERROR_EOF || (isDraining_ && ++failuresWhileDraining_ > mostFailuresWhileDraining)) {
        runStart_ = -1;
        return readError_ == AVERROR_EOF ? Result::end : Result::failed;
    }
    if (isDraining_) return Result::pending;

    if (!hasPacket_) {
        const int read = readPacket();
        if (read < 0) {
            readError_ = read;
            isDraining_ = true;
            failuresWhileDraining_ = 0;
            avcodec_send_packet(codec_.get(), nullptr);
            return Result::pending;
        }
    }
    const auto frame = index_->frameWithTimestamp(packet_->pts);
    const bool isKept = !frame || *frame >= keepFrom;
    if (!isKept) passedOverBefore_ = std::max(passedOverBefore_, keepFrom);
    codec_->skip_frame = isKept ? AVDISCARD_DEFAULT : AVDISCARD_NONREF;
    if (avcodec_send_packet(codec_.get(), packet_.get()) != AVERROR(EAGAIN)) {
        if (packetNumber_) nextPacket_ = *packetNumber_ + 1;
        av_packet_unref(packet_.get());
        hasPacket_ = false;
    }
    return Result::pending;
}

}  // namespace videoanalysis::media::ffmpeg

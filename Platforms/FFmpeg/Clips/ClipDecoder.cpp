#include "Platforms/FFmpeg/Clips/ClipDecoder.h"

#include <algorithm>
#include <string>
#include <utility>

namespace videoanalysis::media::ffmpeg {

Result<std::unique_ptr<ClipDecoder>> ClipDecoder::make(std::unique_ptr<ClipFile> file,
                                                       std::shared_ptr<PicturePool> pool, int threads,
                                                       std::int64_t maxPixels) {
    const AVCodecParameters* parameters = file->stream()->codecpar;
    const AVCodec* codec = avcodec_find_decoder(parameters->codec_id);
    if (!codec) return Failure{std::string("no decoder for ") + avcodec_get_name(parameters->codec_id)};
    std::unique_ptr<ClipDecoder> decoder(new ClipDecoder);
    decoder->file_ = std::move(file);
    decoder->codec_ = makeCodecContext(codec);
    decoder->packet_.reset(av_packet_alloc());
    if (!decoder->codec_ || !decoder->packet_) return Failure{"out of memory"};
    AVCodecContext* context = decoder->codec_.get();
    int result = avcodec_parameters_to_context(context, parameters);
    context->pkt_timebase = decoder->file_->stream()->time_base;
    context->thread_count = threads;
    context->max_pixels = maxPixels;
    decoder->pool_ = std::move(pool);
    decoder->pool_->serve(*context);
    if (result >= 0) result = avcodec_open2(context, codec, nullptr);
    if (result < 0) return Failure{libraryError(result)};
    return decoder;
}

ClipDecoder::~ClipDecoder() {
    codec_ = nullptr;
    if (pool_) pool_->leave();
}

Result<void> ClipDecoder::start(std::int64_t startPacket) {
    runStart_ = -1;
    isDraining_ = false;
    readFailure_ = std::nullopt;
    passedOverBefore_ = 0;
    avcodec_flush_buffers(codec_.get());

    // Where a container's seek lands differs: by presentation time, by decoding time, a group early, or past the target.
    // Early is harmless, as packets are read up to the target; after landing past it, the next attempt aims lower.
    constexpr int maxEarlierAttempts = 3;
    bool isReached = seekTo(startPacket) && readUpTo(startPacket);
    std::int64_t earlier = startPacket;
    for (int attempt = 0; !isReached && attempt < maxEarlierAttempts; ++attempt) {
        earlier = index_->startPacketBefore(earlier);
        isReached = seekTo(earlier) && readUpTo(startPacket);
    }
    if (!isReached) isReached = file_->seekToBeginning() && readUpTo(startPacket);
    if (!isReached) isReached = file_->seekToByte(0) && readUpTo(startPacket);
    if (!isReached) return Failure{"it cannot be read from packet " + std::to_string(startPacket)};
    runStart_ = startPacket;
    nextPacket_ = startPacket;
    firstFrame_ = startPacket == 0 ? 0 : index_->firstFrameFrom(startPacket);
    lastFrame_ = firstFrame_ - 1;
    return {};
}

bool ClipDecoder::canContinueTo(std::int64_t frame, std::int64_t keepFrom) const {
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

bool ClipDecoder::readUpTo(std::int64_t startPacket) {
    while (readPacket() == ClipFile::ReadStatus::packet) {
        if (packetNumber_ == startPacket) return true;
        if (packetNumber_ && *packetNumber_ > startPacket) return false;
    }
    return false;
}

Result<ClipFile::ReadStatus> ClipDecoder::readPacket() {
    av_packet_unref(packet_.get());
    Result<ClipFile::ReadStatus> read = file_->read(*packet_);
    hasPacket_ = read == ClipFile::ReadStatus::packet;
    if (!hasPacket_) return read;
    packetNumber_ = index_->numberOfPacket(*packet_);
    if (index_->hasDerivedTimes())
        packet_->pts = packetNumber_ ? index_->timestampOfPacket(*packetNumber_) : AV_NOPTS_VALUE;
    return read;
}

Result<ClipDecoder::Status> ClipDecoder::next(std::int64_t keepFrom, FrameHandle& picture, std::int64_t& number) {
    if (runStart_ < 0) return Status::endOfStream;
    if (!picture) picture.reset(av_frame_alloc());
    const int received = avcodec_receive_frame(codec_.get(), picture.get());
    if (received >= 0) {
        // Frames before the first one refer to pictures of the previous group, which this run has not decoded.
        const auto frame = index_->frameWithTimestamp(picture->pts);
        if (!frame || *frame < firstFrame_ || *frame <= lastFrame_) return Status::pending;
        lastFrame_ = *frame;
        number = *frame;
        return Status::frame;
    }
    // Any other error than EAGAIN and the end of the stream is a picture that cannot be decoded; the next one may be.
    constexpr int maxFailuresWhileDraining = 64;
    if (received == AVERROR_EOF || (isDraining_ && ++failuresWhileDraining_ > maxFailuresWhileDraining)) {
        runStart_ = -1;
        if (readFailure_) return *readFailure_;
        return Status::endOfStream;
    }
    if (!isDraining_) sendNextPacket(keepFrom);
    return Status::pending;
}

void ClipDecoder::sendNextPacket(std::int64_t keepFrom) {
    if (!hasPacket_) {
        const Result<ClipFile::ReadStatus> read = readPacket();
        if (!hasPacket_) {
            if (!read) readFailure_ = read.failure();
            isDraining_ = true;
            failuresWhileDraining_ = 0;
            avcodec_send_packet(codec_.get(), nullptr);
            return;
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
}

}  // namespace videoanalysis::media::ffmpeg

#include "Platforms/FFmpeg/Export/ExportJob.h"

#include "Platforms/FFmpeg/Clips/ClipScan.h"
#include "Platforms/FFmpeg/Clips/PictureShape.h"
#include "Platforms/FFmpeg/Compatibility.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <utility>

namespace videoanalysis::media::ffmpeg {
namespace {

constexpr double encodingWork = 20;  // relative cost of encoding versus copying one frame, for the progress
constexpr double maxProgressWhileWorking = 0.99;   // the rest is finishing the file
constexpr std::int64_t maxEdgeFrames = 1500;       // edges are kept in memory: with longer ones everything is encoded
constexpr int decoderThreadsForLargePictures = 2;  // each thread keeps a picture
const Rect wholePicture{0, 0, 1, 1};
constexpr double wholeSound = std::numeric_limits<double>::infinity();

/// A packet that the scan has read cannot be read again.
Failure brokenOff() { return {"the clip broke off while it was being saved"}; }
Failure outOfMemory() { return {"out of memory"}; }
/// Not shown to anyone: `run` reports a cancellation by its status.
Failure cancelled() { return {"cancelled"}; }

/// By how many pictures decoding runs ahead at most in each of the three parts of `plan`.
std::int64_t joinedReordering(const ExportPlan& plan, const ClipIndex& index, const EncodedEdge& head,
                              const EncodedEdge& tail) {
    std::int64_t reordering = 0;
    std::vector<std::int64_t> times;
    for (const EncodedEdge* edge : {&head, &tail}) {
        times.clear();
        for (const PacketHandle& packet : edge->packets()) times.push_back(packet->pts);
        reordering = std::max(reordering, reorderingOf(times));
    }
    times.clear();
    for (std::int64_t packet = plan.firstPacket; packet < plan.endPacket; ++packet) {
        const std::int64_t time = index.timestampOfPacket(packet);
        if (time >= index.timestampOfPacket(plan.firstPacket)) times.push_back(time);
    }
    return std::max(reordering, reorderingOf(times));
}

}  // namespace

ExportJob::ExportJob(ExportRequest request, const FFmpegOptions& options, std::shared_ptr<PicturePool> pool)
    : request_(std::move(request)), options_(options), pool_(std::move(pool)) {}

ExportResult ExportJob::run() {
    Result<void> result = prepare();
    if (result) result = write();
    if (result) result = file_->finish();
    decoder_ = nullptr;
    sound_ = nullptr;
    file_ = nullptr;  // removes an unfinished file
    if (result) {
        progress_ = 1;
        return {ExportResult::Status::finished, {}};
    }
    if (isCancelled_) return {ExportResult::Status::cancelled, {}};
    return {ExportResult::Status::failed, result.failure().message};
}

Result<void> ExportJob::prepare() {
    const std::string target = request_.target.path();
    if (target.empty()) return Failure{"the target is not a file"};
    auto file = ClipFile::open(request_.source, ClipFile::Content::video, isCancelled_);
    if (!file) return file.failure();
    const AVCodecParameters& parameters = *(*file)->stream()->codecpar;
    auto index = scanClip(**file, isCancelled_, [&](const AVPacket& packet) {
        kinds_.push_back((packet.flags & AV_PKT_FLAG_KEY) != 0 ? keyframeKind(packet, parameters)
                                                               : KeyframeKind::unfit);
    });
    if (!index) return index.failure();
    index_ = *std::move(index);
    sourcePixels_ = 1.0 * parameters.width * parameters.height;
    const int threads =
        ExportEncoder::isLarge(sourcePixels_) ? decoderThreadsForLargePictures : options_.decoderThreads;
    auto decoder = ClipDecoder::make(*std::move(file), pool_, threads, options_.maxPixels);
    if (!decoder) return decoder.failure();
    decoder_ = *std::move(decoder);
    decoder_->setIndex(index_);
    auto made = ExportFile::make(target);
    if (!made) return made.failure();
    file_ = *std::move(made);
    return {};
}

Result<void> ExportJob::write() {
    const AVCodecParameters& parameters = *source().codecpar;
    const bool isCopyable = request_.crop == wholePicture && file_->accepts(parameters.codec_id) &&
                            parameters.field_order <= AV_FIELD_PROGRESSIVE;
    if (!isCopyable) return encodeAll();
    const ExportPlan plan = ExportPlan::copyingMost(*index_, kinds_, request_.start, request_.end);
    const bool isJoinable = !ExportEncoder::isLarge(sourcePixels_) || parameters.codec_id == AV_CODEC_ID_H264;
    const std::int64_t edgeFrames = plan.frameCount() - (plan.endCopied - plan.firstCopied);
    if (!plan.copies() || (plan.encodes() && !isJoinable) || edgeFrames > maxEdgeFrames) return encodeAll();
    return copyMost(plan);
}

// ---- Encoding

Result<void> ExportJob::encodeAll() {
    const ExportPlan plan = ExportPlan::encodingAll(*index_, request_.start, request_.end);
    times_.emplace(index_, plan.firstFrame, plan.lastFrame);
    workDone_ = 0;
    totalWork_ = static_cast<double>(plan.frameCount()) * encodingWork;
    const ExportEncoder::Settings settings{codecForEncoding(), &source(), {}, false, 0};
    const auto onStart = [&](const ExportEncoder& encoder, const AVFrame& picture) -> Result<void> {
        const AVCodecContext& context = encoder.context();
        const ParametersHandle parameters(avcodec_parameters_alloc());
        if (!parameters || avcodec_parameters_from_context(parameters.get(), &context) < 0) return outOfMemory();
        if (context.max_b_frames > 0) times_->allowReordering(std::max(context.has_b_frames, context.max_b_frames));
        return begin(*parameters, &picture);
    };
    Result<void> encoded = encode(plan.firstFrame, plan.lastFrame, settings, onStart,
                                  [this](AVPacket& packet) { return addPicture(packet); });
    return encoded ? addSound(wholeSound) : encoded;
}

Result<void> ExportJob::encode(std::int64_t first, std::int64_t last, const ExportEncoder::Settings& settings,
                               const std::function<Result<void>(const ExportEncoder&, const AVFrame&)>& onStart,
                               const ExportEncoder::Sink& sink) {
    if (!decoder_->start(index_->startPacketFor(first))) return brokenOff();
    std::unique_ptr<ExportEncoder> encoder;
    for (std::int64_t number = first - 1; number < last;) {
        const Result<FrameHandle> next = nextPicture(first, last, number);
        if (!next) return next.failure();
        const AVFrame* picture = next->get();
        if (!picture) break;
        if (!encoder) {
            ExportEncoder::Settings fitted = settings;
            if (!settings.isJoined) fitted.crop = storedCrop(*picture);
            Result<std::unique_ptr<ExportEncoder>> made = ExportEncoder::make(fitted, *picture);
            if (!made) return made.failure();
            encoder = std::move(*made);
            if (Result<void> started = onStart(*encoder, *picture); !started) return started;
        }
        if (Result<void> encoded = encoder->encode(*picture, times_->ticksOf(number), sink); !encoded) return encoded;
        advance(encodingWork);
    }
    if (!encoder) return Failure{"none of the pictures can be decoded"};
    return encoder->flush(sink);
}

Result<FrameHandle> ExportJob::nextPicture(std::int64_t first, std::int64_t last, std::int64_t& number) {
    FrameHandle picture;
    while (!isCancelled_) {
        const Result<ClipDecoder::Status> status = decoder_->next(first, picture, number);
        if (!status || *status == ClipDecoder::Status::endOfStream) {
            if (decoder_->nextPacket() <= index_->packetOfFrame(last)) return brokenOff();
            return FrameHandle();
        }
        if (*status == ClipDecoder::Status::pending) continue;
        if (number > last) return FrameHandle();
        if (number >= first) return picture;
    }
    return cancelled();
}

ExportEncoder::Crop ExportJob::storedCrop(const AVFrame& picture) const {
    if (request_.crop == wholePicture) return {};
    const Orientation orientation = orientationOf(source(), picture);
    Rect crop = request_.crop;
    if (orientation.isMirrored) crop.origin.x = 1 - crop.origin.x - crop.size.width;
    for (int turn = 0; turn < orientation.quarterTurns; ++turn) {
        crop = {crop.origin.y, 1 - crop.origin.x - crop.size.width, crop.size.height, crop.size.width};
    }
    const auto pixels = [](double fraction, int side) {
        return std::isfinite(fraction) ? static_cast<int>(std::lround(std::clamp(fraction, 0.0, 1.0) * side)) : 0;
    };
    return {pixels(crop.origin.x, picture.width), pixels(crop.origin.y, picture.height),
            std::max(pixels(crop.size.width, picture.width), 1), std::max(pixels(crop.size.height, picture.height), 1)};
}

AVCodecID ExportJob::codecForEncoding() const {
    const AVCodecID codec = source().codecpar->codec_id;
    const bool isLarge = ExportEncoder::isLarge(sourcePixels_ * request_.crop.size.width * request_.crop.size.height);
    const bool isKept =
        codec == AV_CODEC_ID_H264 || (!isLarge && (codec == AV_CODEC_ID_HEVC || codec == AV_CODEC_ID_VP9));
    if (isKept && file_->accepts(codec)) return codec;
    return file_->accepts(AV_CODEC_ID_H264) ? AV_CODEC_ID_H264 : AV_CODEC_ID_VP9;
}

// ---- Copying

Result<void> ExportJob::copyMost(const ExportPlan& plan) {
    times_.emplace(index_, plan.firstFrame, plan.lastFrame);
    const auto encodedFrames = static_cast<double>(plan.frameCount() - (plan.endCopied - plan.firstCopied));
    totalWork_ = static_cast<double>(plan.endPacket - plan.firstPacket) + encodingWork * encodedFrames;
    Result<std::unique_ptr<StreamJoin>> join = StreamJoin::make(source(), plan.encodes());
    if (!join) return encodeAll();
    const int parameterSet = (*join)->parameterSet();
    const Result<EncodedEdge> head = encodeEdge(plan.firstFrame, plan.firstCopied - 1, parameterSet);
    if (isCancelled_) return cancelled();
    if (!head) return encodeAll();
    const Result<EncodedEdge> tail = encodeEdge(plan.endCopied, plan.lastFrame, parameterSet);
    if (isCancelled_) return cancelled();
    if (!tail) return encodeAll();
    return writeJoined(plan, **join, *head, *tail);
}

Result<EncodedEdge> ExportJob::encodeEdge(std::int64_t first, std::int64_t last, int parameterSet) {
    EncodedEdge edge;
    if (first > last) return edge;
    const AVCodecParameters& parameters = *source().codecpar;
    const ExportEncoder::Settings settings{parameters.codec_id, &source(), {}, true, parameterSet};
    const auto onStart = [&](const ExportEncoder& encoder, const AVFrame& picture) -> Result<void> {
        if (isInterlaced(picture) || picture.width != parameters.width || picture.height != parameters.height) {
            return Failure{"its pictures cannot be joined"};
        }
        const AVCodecContext& context = encoder.context();
        if (hasParameterSets(parameters.codec_id)) {
            edge = EncodedEdge({context.extradata, context.extradata + context.extradata_size});
        }
        return {};
    };
    const Result<void> encoded =
        encode(first, last, settings, onStart, [&edge](AVPacket& packet) { return edge.add(packet); });
    if (!encoded) return encoded.failure();
    return edge;
}

Result<void> ExportJob::writeJoined(const ExportPlan& plan, StreamJoin& join, const EncodedEdge& head,
                                    const EncodedEdge& tail) {
    const bool acceptsSetsInStream = file_->hasTag(AV_CODEC_ID_HEVC, StreamJoin::tagForSetsInStream);
    const Result<ParametersHandle> parameters = join.parameters(head, tail, acceptsSetsInStream);
    if (!parameters) return parameters.failure();
    times_->allowReordering(joinedReordering(plan, *index_, head, tail));
    if (Result<void> begun = begin(**parameters, nullptr); !begun) return begun;
    const auto add = [this](const EncodedEdge& edge) -> Result<void> {
        for (const PacketHandle& packet : edge.packets()) {
            if (Result<void> added = addPicture(*packet); !added) return added;
        }
        return {};
    };
    if (Result<void> added = add(head); !added) return added;
    if (Result<void> copied = copyPackets(plan, join); !copied) return copied;
    if (Result<void> added = add(tail); !added) return added;
    return addSound(wholeSound);
}

Result<std::unique_ptr<ClipFile>> ExportJob::readerAt(std::int64_t number, AVPacket& packet) {
    Result<std::unique_ptr<ClipFile>> opened = ClipFile::open(request_.source, ClipFile::Content::video, isCancelled_);
    if (!opened) return opened;
    ClipFile& reader = **opened;
    const auto reach = [&](bool hasSought) {
        while (hasSought) {
            av_packet_unref(&packet);
            if (reader.read(packet) != ClipFile::ReadStatus::packet) return false;
            const auto found = index_->numberOfPacket(packet);
            if (found == number) return true;
            if (found && *found > number) return false;
        }
        return false;
    };
    const std::int64_t earlier = index_->startPacketBefore(number);
    if (reach(reader.seek(index_->timestampOfPacket(number))) ||
        reach(reader.seek(index_->timestampOfPacket(earlier))) || reach(reader.seekToBeginning()) ||
        reach(reader.seekToByte(0))) {
        return opened;
    }
    return brokenOff();
}

Result<void> ExportJob::copyPackets(const ExportPlan& plan, StreamJoin& join) {
    const PacketHandle packet(av_packet_alloc());
    if (!packet) return outOfMemory();
    const Result<std::unique_ptr<ClipFile>> reader = readerAt(plan.firstPacket, *packet);
    if (!reader) return reader.failure();
    const bool isLinked =
        plan.firstCopied > plan.firstFrame && kinds_[static_cast<std::size_t>(plan.firstPacket)] == KeyframeKind::open;
    const std::int64_t firstTime = index_->timestampOfPacket(plan.firstPacket);
    for (std::int64_t number = plan.firstPacket;;) {
        if (isCancelled_) return cancelled();
        const std::int64_t time = index_->timestampOfPacket(number);
        if (time >= firstTime) {  // pictures before it are in the head
            const Result<bool> isUsable = join.convert(*packet, isLinked && number == plan.firstPacket);
            if (!isUsable) return isUsable.failure();
            packet->pts = time - times_->startTimestamp();
            if (*isUsable) {
                if (Result<void> added = addPicture(*packet); !added) return added;
            }
        }
        av_packet_unref(packet.get());
        advance(1);
        if (++number == plan.endPacket) return {};
        if ((*reader)->read(*packet) != ClipFile::ReadStatus::packet) return brokenOff();
    }
}

// ---- Writing

Result<void> ExportJob::begin(const AVCodecParameters& parameters, const AVFrame* picture) {
    if (Result<void> added = file_->addVideo(parameters, source(), picture); !added) return added;
    file_->copyMetadata(*decoder_->file().format());
    sound_ = ExportSound::open(request_.source, times_->startTimestamp(), times_->endTimestamp(), times_->timeBase(),
                               *file_, isCancelled_);
    if (sound_) {
        if (Result<void> added = file_->addAudio(sound_->encoder()); !added) return added;
    }
    return file_->writeHeader();
}

Result<void> ExportJob::addPicture(AVPacket& packet) {
    times_->stamp(packet);
    Result<void> added = addSound(static_cast<double>(packet.dts) * av_q2d(times_->timeBase()));
    return added ? file_->write(packet, 0, times_->timeBase()) : added;
}

Result<void> ExportJob::addSound(double seconds) {
    if (!sound_) return {};
    return sound_->writeUpTo(seconds,
                             [this](AVPacket& packet) { return file_->write(packet, 1, sound_->encoder().time_base); });
}

void ExportJob::advance(double work) {
    workDone_ += work;
    progress_ = std::max(progress_.load(), std::min(workDone_ / totalWork_, maxProgressWhileWorking));
}

}  // namespace videoanalysis::media::ffmpeg

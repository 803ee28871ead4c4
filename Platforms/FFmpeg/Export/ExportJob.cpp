#include "Platforms/FFmpeg/Export/ExportJob.h"

#include "Platforms/FFmpeg/Clips/ClipScan.h"
#include "Platforms/FFmpeg/Clips/PictureShape.h"

extern "C" {
#include <libavcodec/bsf.h>
#include <libavutil/intreadwrite.h>
}

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <set>
#include <string_view>
#include <utility>

namespace videoanalysis::media::ffmpeg {
namespace {

// A picture to encode takes about so many times as long as one to copy; for the progress.
constexpr double workOfEncoding = 20;
// What the cuts leave is kept in memory until the file begins: of groups longer than this everything is encoded.
constexpr std::int64_t longestEdge = 1500;
constexpr std::size_t largestEdge = std::size_t{128} << 20;  // bytes of packets
constexpr int threadsForLargePictures = 2;                   // of the decoder: each keeps a picture
// A packet that the scan has read cannot be read again.
constexpr const char* brokenOff = "the clip broke off while it was being saved";

struct ExportDeleter {
    void operator()(AVBSFContext* filter) const { av_bsf_free(&filter); }
    void operator()(AVCodecParameters* parameters) const { avcodec_parameters_free(&parameters); }
};
using FilterHandle = std::unique_ptr<AVBSFContext, ExportDeleter>;
using ParametersHandle = std::unique_ptr<AVCodecParameters, ExportDeleter>;

bool hasParameterSets(AVCodecID codec) { return codec == AV_CODEC_ID_H264 || codec == AV_CODEC_ID_HEVC; }

/// Calls `visit` with the first byte of each unit in a stream with start codes, and the bytes from there to the end.
template <class Byte, class Visitor>
void visitUnits(Byte* data, std::size_t size, const Visitor& visit) {
    for (std::size_t at = 0; at + 3 < size; ++at) {
        if (data[at] == 0 && data[at + 1] == 0 && data[at + 2] == 1) visit(data + at + 3, size - at - 3);
    }
}

/// An exponential Golomb number (H.264, 9.1) at the beginning of `data`; only the small ones that identify parameter sets.
int leadingNumber(const std::uint8_t* data, std::size_t size) {
    if (size < 4) return 0;
    const std::uint32_t bits = AV_RB32(data);
    if (bits == 0) return 0;
    const int zeros = __builtin_clz(bits);
    return zeros > 15 ? 0 : static_cast<int>(bits >> (31 - 2 * zeros)) - 1;
}

/// The largest number that no H.264 parameter set in `extradata` (with start codes) has; -1 when all are taken.
int freeParameterSet(const std::uint8_t* extradata, std::size_t size) {
    constexpr int sequenceParameterSet = 7;
    constexpr int pictureParameterSet = 8;
    std::set<int> taken;
    visitUnits(extradata, size, [&](const std::uint8_t* unit, std::size_t rest) {
        const int type = unit[0] & 0x1F;
        if (type == sequenceParameterSet && rest > 8) taken.insert(leadingNumber(unit + 4, rest - 4));
        if (type == pictureParameterSet && rest > 5) taken.insert(leadingNumber(unit + 1, rest - 1));
    });
    int number = 31;
    while (number >= 0 && taken.contains(number)) --number;
    return number;
}

/// Pictures that can be shown only with what precedes a clean random access are said to be missing (H.265, 7.4.2.2).
void breakLink(AVPacket& packet) {
    constexpr int cleanRandomAccess = 21;
    constexpr int brokenLinkWithoutLeading = 18;
    visitUnits(packet.data, static_cast<std::size_t>(packet.size), [](std::uint8_t* unit, std::size_t) {
        if (((unit[0] >> 1) & 0x3F) == cleanRandomAccess) {
            unit[0] = static_cast<std::uint8_t>((unit[0] & 0x81) | brokenLinkWithoutLeading << 1);
        }
    });
}

bool setExtradata(AVCodecParameters& parameters, const std::vector<std::uint8_t>& bytes) {
    av_freep(&parameters.extradata);
    parameters.extradata_size = 0;
    parameters.extradata = static_cast<std::uint8_t*>(av_mallocz(bytes.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    if (!parameters.extradata) return false;
    std::copy(bytes.begin(), bytes.end(), parameters.extradata);
    parameters.extradata_size = static_cast<int>(bytes.size());
    return true;
}

/// By how many packets decoding runs ahead of presentation at most.
std::int64_t reorderingOf(const std::vector<std::int64_t>& times) {
    std::vector<std::int64_t> sorted = times;
    std::sort(sorted.begin(), sorted.end());
    std::int64_t most = 0;
    for (std::size_t i = 0; i < times.size(); ++i) {
        const auto rank = std::lower_bound(sorted.begin(), sorted.end(), times[i]) - sorted.begin();
        most = std::max(most, static_cast<std::int64_t>(i) - rank);
    }
    return most;
}

FilterHandle startCodeFilter(const AVStream& stream) {
    const bool isHevc = stream.codecpar->codec_id == AV_CODEC_ID_HEVC;
    AVBSFContext* filter = nullptr;
    const AVBitStreamFilter* kind = av_bsf_get_by_name(isHevc ? "hevc_mp4toannexb" : "h264_mp4toannexb");
    if (!kind || av_bsf_alloc(kind, &filter) < 0) return nullptr;
    FilterHandle result(filter);
    filter->time_base_in = stream.time_base;
    if (avcodec_parameters_copy(filter->par_in, stream.codecpar) < 0 || av_bsf_init(filter) < 0) return nullptr;
    return result;
}

}  // namespace

ExportJob::ExportJob(ExportRequest request, const FFmpegOptions& options, std::shared_ptr<PicturePool> pool)
    : request_(std::move(request)), options_(options), pool_(std::move(pool)) {}

ExportResult ExportJob::run() {
    const bool isWritten = prepare() && write() && file_->finish(error_);
    decoder_ = nullptr;
    sound_ = nullptr;
    file_ = nullptr;  // of what is not finished, nothing is left
    if (isWritten) {
        progress_ = 1;
        return {ExportResult::Status::finished, {}};
    }
    if (isCancelled_) return {ExportResult::Status::cancelled, {}};
    return {ExportResult::Status::failed, error_};
}

bool ExportJob::fail(std::string error) {
    if (error_.empty()) error_ = std::move(error);
    return false;
}

bool ExportJob::prepare() {
    const std::string target = request_.target.path();
    if (target.empty()) return fail("the target is not a file");
    auto file = ClipFile::open(request_.source, ClipFile::Content::video, isCancelled_);
    if (!file) return fail(file.failure().message);
    const AVCodecParameters& parameters = *(*file)->stream()->codecpar;
    auto index = scanClip(**file, isCancelled_, [&](const AVPacket& packet) {
        kinds_.push_back((packet.flags & AV_PKT_FLAG_KEY) != 0 ? keyFrameKind(packet, parameters)
                                                               : KeyFrameKind::unfit);
    });
    if (!index) return fail(index.failure().message);
    index_ = *std::move(index);
    sourcePixels_ = 1.0 * parameters.width * parameters.height;
    auto decoder = ClipDecoder::make(
        *std::move(file), pool_,
        ExportEncoder::isLarge(sourcePixels_) ? threadsForLargePictures : options_.decoderThreads, options_.maxPixels);
    if (!decoder) return fail(decoder.failure().message);
    decoder_ = *std::move(decoder);
    decoder_->setIndex(index_);
    std::string error;
    file_ = ExportFile::make(target, error);
    return file_ || fail(error);
}

bool ExportJob::write() {
    const AVCodecParameters& source = *decoder_->file().stream()->codecpar;
    const ExportPlan all = ExportPlan::encodingAll(*index_, request_.start, request_.end);
    firstFrame_ = all.firstFrame;
    lastFrame_ = all.lastFrame;
    const bool isWhole = request_.crop == Rect{0, 0, 1, 1};
    if (isWhole && file_->accepts(source.codec_id) && source.field_order <= AV_FIELD_PROGRESSIVE) {
        const ExportPlan plan = ExportPlan::copyingMost(*index_, kinds_, request_.start, request_.end);
        const bool canJoin = !ExportEncoder::isLarge(sourcePixels_) || source.codec_id == AV_CODEC_ID_H264;
        if (plan.copies() && (canJoin || !plan.encodes()) &&
            plan.firstCopied - plan.firstFrame + plan.lastFrame + 1 - plan.endCopied <= longestEdge) {
            return copyMost(plan);
        }
    }
    return encodeAll(all);
}

// Encoding

bool ExportJob::encodeAll(const ExportPlan& plan) {
    workDone_ = 0;
    workInAll_ = static_cast<double>(plan.frameCount()) * workOfEncoding;
    ExportEncoder::Settings settings{codecForEncoding(), decoder_->file().stream(), {}, false, 0};
    const auto onStart = [&](const ExportEncoder& encoder, const AVFrame& picture) {
        const ParametersHandle parameters(avcodec_parameters_alloc());
        if (!parameters || avcodec_parameters_from_context(parameters.get(), &encoder.context()) < 0) {
            return fail("out of memory");
        }
        const AVCodecContext& context = encoder.context();
        reordering_ = context.max_b_frames > 0 ? std::max(context.has_b_frames, context.max_b_frames) : 0;
        return begin(*parameters, &picture);
    };
    if (!encode(plan.firstFrame, plan.lastFrame, settings, onStart,
                [this](AVPacket& packet) { return addPicture(packet); })) {
        return false;
    }
    const int result = addSound(std::numeric_limits<double>::infinity());
    return result >= 0 || failWith(result);
}

bool ExportJob::encode(std::int64_t first, std::int64_t last, const ExportEncoder::Settings& asked,
                       const std::function<bool(const ExportEncoder&, const AVFrame&)>& onStart,
                       const ExportEncoder::Sink& sink) {
    if (!decoder_->start(index_->startPacketFor(first))) return fail(brokenOff);
    std::unique_ptr<ExportEncoder> encoder;
    bool isAtEnd = false;
    while (!isAtEnd) {
        if (isCancelled_) return false;
        FrameHandle picture;
        std::int64_t number = 0;
        const Result<ClipDecoder::Status> status = decoder_->next(first, picture, number);
        switch (status ? *status : ClipDecoder::Status::endOfStream) {
            case ClipDecoder::Status::pending: continue;
            case ClipDecoder::Status::endOfStream:
                if (decoder_->nextPacket() <= index_->packetOfFrame(last)) return fail(brokenOff);
                isAtEnd = true;
                continue;
            case ClipDecoder::Status::frame: break;
        }
        if (number < first) continue;
        if (number > last) break;
        if (!encoder) {
            ExportEncoder::Settings settings = asked;
            if (!settings.isJoined) settings.crop = storedCrop(*picture);
            std::string error;
            encoder = ExportEncoder::make(settings, *picture, error);
            if (!encoder) return fail(error);
            if (!onStart(*encoder, *picture)) return false;
        }
        const int result = encoder->encode(picture.get(), ticksOf(number), sink);
        if (result < 0) return failWith(result);
        advance(workOfEncoding);
        isAtEnd = number == last;
    }
    if (!encoder) return fail("none of the pictures can be decoded");
    const int result = encoder->encode(nullptr, 0, sink);
    return result >= 0 || failWith(result);
}

ExportEncoder::Crop ExportJob::storedCrop(const AVFrame& picture) const {
    if (request_.crop == Rect{0, 0, 1, 1}) return {};
    const Orientation orientation = orientationOf(*decoder_->file().stream(), picture);
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
    const AVCodecID source = decoder_->file().stream()->codecpar->codec_id;
    const bool isLarge = ExportEncoder::isLarge(sourcePixels_ * request_.crop.size.width * request_.crop.size.height);
    const bool isKept =
        source == AV_CODEC_ID_H264 || (!isLarge && (source == AV_CODEC_ID_HEVC || source == AV_CODEC_ID_VP9));
    if (isKept && file_->accepts(source)) return source;
    return file_->accepts(AV_CODEC_ID_H264) ? AV_CODEC_ID_H264 : AV_CODEC_ID_VP9;
}

// Copying

bool ExportJob::copyMost(const ExportPlan& plan) {
    AVStream* source = decoder_->file().stream();
    const bool isJoined = plan.encodes();
    workInAll_ = static_cast<double>(plan.endPacket - plan.firstPacket) +
                 workOfEncoding * static_cast<double>(plan.frameCount() - (plan.endCopied - plan.firstCopied));

    // Of streams with parameter sets, each stretch brings its own: in H.264 under a number of their own, in H.265, whose encoder
    // gives no choice, by repeating those of the stretch.
    FilterHandle filter;
    std::vector<std::uint8_t> extradata;
    int parameterSet = 0;
    bool isPossible = true;
    if (isJoined && hasParameterSets(source->codecpar->codec_id)) {
        filter = startCodeFilter(*source);
        isPossible = filter != nullptr;
        if (isPossible) {
            const AVCodecParameters& parameters = *filter->par_out;
            if (parameters.extradata)
                extradata.assign(parameters.extradata, parameters.extradata + parameters.extradata_size);
        }
        if (isPossible && source->codecpar->codec_id == AV_CODEC_ID_H264) {
            parameterSet = freeParameterSet(extradata.data(), extradata.size());
            isPossible = parameterSet >= 0 && !extradata.empty();
        }
    }

    Edge head;
    Edge tail;
    isPossible = isPossible && encodeEdge(plan.firstFrame, plan.firstCopied - 1, parameterSet, head) &&
                 encodeEdge(plan.endCopied, plan.lastFrame, parameterSet, tail);
    if (isCancelled_) return false;
    if (!isPossible) {
        error_.clear();
        return encodeAll(ExportPlan::encodingAll(*index_, request_.start, request_.end));
    }

    const ParametersHandle parameters(avcodec_parameters_alloc());
    if (!parameters || avcodec_parameters_copy(parameters.get(), source->codecpar) < 0) return fail("out of memory");
    if (source->codecpar->codec_id == AV_CODEC_ID_H264) {
        for (const Edge* edge : {&head, &tail}) {
            if (edge == &tail && tail.parameterSets == head.parameterSets) continue;
            extradata.insert(extradata.end(), edge->parameterSets.begin(), edge->parameterSets.end());
        }
    }
    if (!extradata.empty() && !setExtradata(*parameters, extradata)) return fail("out of memory");
    parameters->codec_tag = 0;
    constexpr std::uint32_t setsInStream = MKTAG('h', 'e', 'v', '1');
    if (isJoined && parameters->codec_id == AV_CODEC_ID_HEVC && file_->hasTag(parameters->codec_id, setsInStream)) {
        parameters->codec_tag = setsInStream;
    }

    std::vector<std::int64_t> times;
    for (const Edge* edge : {&head, &tail}) {
        times.clear();
        for (const PacketHandle& packet : edge->packets) times.push_back(packet->pts);
        reordering_ = std::max(reordering_, reorderingOf(times));
    }
    times.clear();
    for (std::int64_t packet = plan.firstPacket; packet < plan.endPacket; ++packet) {
        const std::int64_t time = index_->timestampOfPacket(packet);
        if (time >= index_->timestampOfPacket(plan.firstPacket)) times.push_back(time);
    }
    reordering_ = std::max(reordering_, reorderingOf(times));

    if (!begin(*parameters, nullptr)) return false;
    const auto add = [this](Edge& edge) {
        for (const PacketHandle& packet : edge.packets) {
            const int result = addPicture(*packet);
            if (result < 0) return failWith(result);
        }
        return true;
    };
    const bool breaksLink =
        plan.firstCopied > plan.firstFrame && kinds_[static_cast<std::size_t>(plan.firstPacket)] == KeyFrameKind::open;
    if (!add(head) || !copyPackets(plan, filter.get(), breaksLink) || !add(tail)) return false;
    const int result = addSound(std::numeric_limits<double>::infinity());
    return result >= 0 || failWith(result);
}

bool ExportJob::encodeEdge(std::int64_t first, std::int64_t last, int parameterSet, Edge& edge) {
    if (first > last) return true;
    AVStream* source = decoder_->file().stream();
    const AVCodecID codec = source->codecpar->codec_id;
    const ExportEncoder::Settings settings{codec, source, {}, true, parameterSet};
    const auto onStart = [&](const ExportEncoder& encoder, const AVFrame& picture) {
        const AVCodecContext& context = encoder.context();
        if (picture.interlaced_frame != 0 || picture.width != source->codecpar->width ||
            picture.height != source->codecpar->height) {
            return fail("its pictures cannot be joined");
        }
        if (hasParameterSets(codec)) {
            edge.parameterSets.assign(context.extradata, context.extradata + context.extradata_size);
        }
        return true;
    };
    const auto keep = [&](AVPacket& packet) {
        PacketHandle kept(av_packet_alloc());
        edge.bytes += static_cast<std::size_t>(packet.size);
        if (!kept || edge.bytes > largestEdge) return AVERROR(ENOMEM);
        const bool leads = (packet.flags & AV_PKT_FLAG_KEY) != 0 && !edge.parameterSets.empty();
        if (leads) {
            const auto before = static_cast<int>(edge.parameterSets.size());
            const int result = av_new_packet(kept.get(), before + packet.size);
            if (result < 0) return result;
            std::memcpy(kept->data, edge.parameterSets.data(), edge.parameterSets.size());
            std::memcpy(kept->data + before, packet.data, static_cast<std::size_t>(packet.size));
            av_packet_copy_props(kept.get(), &packet);
        } else {
            av_packet_move_ref(kept.get(), &packet);
        }
        edge.packets.push_back(std::move(kept));
        return 0;
    };
    return encode(first, last, settings, onStart, keep);
}

bool ExportJob::copyPackets(const ExportPlan& plan, AVBSFContext* filter, bool breaksLink) {
    const auto opened = ClipFile::open(request_.source, ClipFile::Content::video, isCancelled_);
    if (!opened) return fail(opened.failure().message);
    const std::unique_ptr<ClipFile>& reader = *opened;
    const PacketHandle packet(av_packet_alloc());
    const auto reach = [&](bool isThere) {
        while (isThere) {
            av_packet_unref(packet.get());
            if (reader->read(*packet) != ClipFile::ReadStatus::packet) return false;
            const auto number = index_->numberOfPacket(*packet);
            if (number == plan.firstPacket) return true;
            if (number && *number > plan.firstPacket) return false;
        }
        return false;
    };
    const std::int64_t earlier = index_->startPacketBefore(plan.firstPacket);
    if (!reach(reader->seek(index_->timestampOfPacket(plan.firstPacket))) &&
        !reach(reader->seek(index_->timestampOfPacket(earlier))) && !reach(reader->seekToBeginning()) &&
        !reach(reader->seekToByte(0))) {
        return fail(brokenOff);
    }

    const std::int64_t zero = index_->zeroTimestamp() + index_->ticksOf(firstFrame_);
    const std::int64_t firstTime = index_->timestampOfPacket(plan.firstPacket);
    for (std::int64_t number = plan.firstPacket;;) {
        if (isCancelled_) return false;
        const std::int64_t time = index_->timestampOfPacket(number);
        if (time >= firstTime) {  // those before it are in the head
            int result = 0;
            if (filter) {
                result = av_bsf_send_packet(filter, packet.get());
                if (result >= 0) result = av_bsf_receive_packet(filter, packet.get());
            }
            const bool isWhole = result >= 0;  // one that is damaged is left out, as a player does
            if (isWhole && breaksLink && number == plan.firstPacket) {
                result = av_packet_make_writable(packet.get());
                if (result >= 0) breakLink(*packet);
            }
            packet->pts = time - zero;
            if (isWhole && result >= 0) result = addPicture(*packet);
            if (isWhole && result < 0) return failWith(result);
        }
        av_packet_unref(packet.get());
        advance(1);
        if (++number == plan.endPacket) return true;
        if (reader->read(*packet) != ClipFile::ReadStatus::packet) return fail(brokenOff);
    }
}

// Writing

bool ExportJob::begin(const AVCodecParameters& parameters, const AVFrame* picture) {
    AVStream* source = decoder_->file().stream();
    AVFormatContext* format = file_->format();
    AVStream* video = avformat_new_stream(format, nullptr);
    if (!video || avcodec_parameters_copy(video->codecpar, &parameters) < 0) return fail("out of memory");
    // Parameter sets that stay in the header are what most devices want of H.265.
    constexpr std::uint32_t setsInHeader = MKTAG('h', 'v', 'c', '1');
    if (parameters.codec_id == AV_CODEC_ID_HEVC && parameters.codec_tag == 0 &&
        file_->hasTag(parameters.codec_id, setsInHeader)) {
        video->codecpar->codec_tag = setsInHeader;
    }
    video->time_base = source->time_base;
    video->avg_frame_rate = source->avg_frame_rate;
    video->sample_aspect_ratio =
        parameters.sample_aspect_ratio.num > 0 ? parameters.sample_aspect_ratio : source->sample_aspect_ratio;
    video->disposition = AV_DISPOSITION_DEFAULT;
    std::size_t size = 0;
    const std::uint8_t* matrix = av_stream_get_side_data(source, AV_PKT_DATA_DISPLAYMATRIX, &size);
    const AVFrameSideData* ofPicture =
        picture && !matrix ? av_frame_get_side_data(picture, AV_FRAME_DATA_DISPLAYMATRIX) : nullptr;
    if (ofPicture) {
        matrix = ofPicture->data;
        size = ofPicture->size;
    }
    if (matrix) {
        std::uint8_t* copy = av_stream_new_side_data(video, AV_PKT_DATA_DISPLAYMATRIX, size);
        if (!copy) return fail("out of memory");
        std::memcpy(copy, matrix, size);
    }
    av_dict_copy(&format->metadata, decoder_->file().format()->metadata, 0);

    const std::int64_t zero = index_->zeroTimestamp();
    sound_ = ExportSound::open(request_.source, zero + index_->ticksOf(firstFrame_),
                               zero + index_->endTicksOf(lastFrame_), index_->timeBase(), *file_, isCancelled_);
    if (sound_) {
        AVStream* audio = avformat_new_stream(format, nullptr);
        if (!audio || avcodec_parameters_from_context(audio->codecpar, &sound_->encoder()) < 0) {
            return fail("out of memory");
        }
        audio->time_base = sound_->encoder().time_base;
        audio->disposition = AV_DISPOSITION_DEFAULT;
    }
    const int result = file_->writeHeader();
    return result >= 0 || failWith(result);
}

int ExportJob::addPicture(AVPacket& packet) {
    const std::int64_t zero = index_->ticksOf(firstFrame_);
    const auto frame = index_->frameWithTimestamp(packet.pts + zero + index_->zeroTimestamp());
    // Decoding times are the presentation times in their order, moved up by as many pictures as decoding runs ahead.
    const std::int64_t slot = firstFrame_ + written_ - reordering_;
    packet.dts =
        slot >= firstFrame_ ? ticksOf(std::min(slot, lastFrame_)) : (slot - firstFrame_) * index_->minFrameTicks();
    packet.dts = std::min(packet.dts, packet.pts);
    packet.duration = frame ? index_->endTicksOf(*frame) - index_->ticksOf(*frame) : 0;
    ++written_;
    const int result = addSound(static_cast<double>(packet.dts) * av_q2d(index_->timeBase()));
    return result < 0 ? result : file_->write(packet, 0, index_->timeBase());
}

int ExportJob::addSound(double upTo) {
    if (!sound_) return 0;
    return sound_->writeUpTo(upTo,
                             [this](AVPacket& packet) { return file_->write(packet, 1, sound_->encoder().time_base); });
}

std::int64_t ExportJob::ticksOf(std::int64_t frame) const {
    return index_->ticksOf(frame) - index_->ticksOf(firstFrame_);
}

void ExportJob::advance(double work) {
    workDone_ += work;
    constexpr double beforeTheEnd = 0.99;
    progress_ = std::max(progress_.load(), std::min(workDone_ / workInAll_, beforeTheEnd));
}

}  // namespace videoanalysis::media::ffmpeg

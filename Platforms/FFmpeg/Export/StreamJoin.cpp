#include "Platforms/FFmpeg/Export/StreamJoin.h"

#include "Platforms/FFmpeg/Clips/Bitstream.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace videoanalysis::media::ffmpeg {
namespace {

// Edges are kept in memory until the file begins.
constexpr std::size_t maxEdgeBytes = std::size_t{128} << 20;

Failure outOfMemory() { return {"out of memory"}; }
Failure notJoinable() { return {"its pictures cannot be joined"}; }

bool setExtradata(AVCodecParameters& parameters, const std::vector<std::uint8_t>& bytes) {
    av_freep(&parameters.extradata);
    parameters.extradata_size = 0;
    parameters.extradata = static_cast<std::uint8_t*>(av_mallocz(bytes.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    if (!parameters.extradata) return false;
    std::copy(bytes.begin(), bytes.end(), parameters.extradata);
    parameters.extradata_size = static_cast<int>(bytes.size());
    return true;
}

}  // namespace

Result<void> EncodedEdge::add(AVPacket& packet) {
    PacketHandle kept(av_packet_alloc());
    const bool isKeyframe = (packet.flags & AV_PKT_FLAG_KEY) != 0;
    const std::size_t prefix = isKeyframe ? parameterSets_.size() : 0;
    bytes_ += prefix + static_cast<std::size_t>(packet.size);
    if (!kept || bytes_ > maxEdgeBytes) return outOfMemory();
    if (prefix > 0) {
        if (av_new_packet(kept.get(), static_cast<int>(prefix) + packet.size) < 0) return outOfMemory();
        std::memcpy(kept->data, parameterSets_.data(), prefix);
        std::memcpy(kept->data + prefix, packet.data, static_cast<std::size_t>(packet.size));
        av_packet_copy_props(kept.get(), &packet);
    } else {
        av_packet_move_ref(kept.get(), &packet);
    }
    packets_.push_back(std::move(kept));
    return {};
}

Result<std::unique_ptr<StreamJoin>> StreamJoin::make(const AVStream& source, bool hasEdges) {
    std::unique_ptr<StreamJoin> join(new StreamJoin(source, hasEdges));
    if (hasEdges && hasParameterSets(source.codecpar->codec_id)) {
        if (const Result<void> prepared = join->prepareParameterSets(); !prepared) return prepared.failure();
    }
    return join;
}

Result<void> StreamJoin::prepareParameterSets() {
    const bool isHevc = source_.codecpar->codec_id == AV_CODEC_ID_HEVC;
    const AVBitStreamFilter* kind = av_bsf_get_by_name(isHevc ? "hevc_mp4toannexb" : "h264_mp4toannexb");
    AVBSFContext* filter = nullptr;
    if (!kind || av_bsf_alloc(kind, &filter) < 0) return notJoinable();
    filter_.reset(filter);
    filter->time_base_in = source_.time_base;
    if (avcodec_parameters_copy(filter->par_in, source_.codecpar) < 0 || av_bsf_init(filter) < 0) return notJoinable();
    const AVCodecParameters& converted = *filter->par_out;
    if (converted.extradata) {
        extradata_.assign(converted.extradata, converted.extradata + converted.extradata_size);
    }
    if (isHevc) return {};
    parameterSet_ = freeParameterSet(extradata_);
    if (parameterSet_ < 0 || extradata_.empty()) return notJoinable();
    return {};
}

Result<ParametersHandle> StreamJoin::parameters(const EncodedEdge& head, const EncodedEdge& tail,
                                                bool acceptsSetsInStream) const {
    ParametersHandle parameters(avcodec_parameters_alloc());
    if (!parameters || avcodec_parameters_copy(parameters.get(), source_.codecpar) < 0) return outOfMemory();
    std::vector<std::uint8_t> extradata = extradata_;
    if (parameters->codec_id == AV_CODEC_ID_H264) {
        extradata.insert(extradata.end(), head.parameterSets().begin(), head.parameterSets().end());
        if (tail.parameterSets() != head.parameterSets()) {
            extradata.insert(extradata.end(), tail.parameterSets().begin(), tail.parameterSets().end());
        }
    }
    if (!extradata.empty() && !setExtradata(*parameters, extradata)) return outOfMemory();
    parameters->codec_tag = 0;
    if (hasEdges_ && parameters->codec_id == AV_CODEC_ID_HEVC && acceptsSetsInStream) {
        parameters->codec_tag = tagForSetsInStream;
    }
    return parameters;
}

Result<bool> StreamJoin::convert(AVPacket& packet, bool breaksLink) {
    if (filter_) {
        if (av_bsf_send_packet(filter_.get(), &packet) < 0) return false;
        if (av_bsf_receive_packet(filter_.get(), &packet) < 0) return false;
    }
    if (breaksLink) {
        if (av_packet_make_writable(&packet) < 0) return outOfMemory();
        breakLink(packet);
    }
    return true;
}

}  // namespace videoanalysis::media::ffmpeg

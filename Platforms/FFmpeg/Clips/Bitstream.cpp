#include "Platforms/FFmpeg/Clips/Bitstream.h"

extern "C" {
#include <libavutil/intreadwrite.h>
}

#include <bitset>
#include <cstddef>

namespace videoanalysis::media::ffmpeg {
namespace {

// Unit types of the two standards (H.264 table 7-1, H.265 table 7-1).
constexpr int h264IdrSlice = 5;
constexpr int h264LastSlice = 5;
constexpr int h264SequenceParameterSet = 7;
constexpr int h264PictureParameterSet = 8;
constexpr int hevcBrokenLinkWithoutLeading = 18;
constexpr int hevcIdrWithLeading = 19;
constexpr int hevcIdr = 20;
constexpr int hevcCleanRandomAccess = 21;
constexpr int hevcLastSlice = 31;

int h264UnitType(std::uint8_t header) { return header & 0x1F; }
int hevcUnitType(std::uint8_t header) { return (header >> 1) & 0x3F; }

/// The index of the first byte behind the next start code at or after `at`; the size of `data` when there is none.
std::size_t nextUnit(std::span<const std::uint8_t> data, std::size_t at) {
    for (; at + 3 < data.size(); ++at) {
        if (data[at] == 0 && data[at + 1] == 0 && data[at + 2] == 1) return at + 3;
    }
    return data.size();
}

/// The type of the first slice in `packet`, stored with start codes or with lengths; -1 for none.
int firstSliceType(std::span<const std::uint8_t> packet, const AVCodecParameters& parameters) {
    const bool isHevc = parameters.codec_id == AV_CODEC_ID_HEVC;
    const auto sliceType = [isHevc](std::uint8_t header) {
        const int type = isHevc ? hevcUnitType(header) : h264UnitType(header);
        const bool isSlice = isHevc ? type <= hevcLastSlice : type >= 1 && type <= h264LastSlice;
        return isSlice ? type : -1;
    };
    // The configuration record begins with its version, 1; start codes begin with zeros.
    if (parameters.extradata_size > 22 && parameters.extradata[0] == 1) {
        const std::size_t lengthSize = (parameters.extradata[isHevc ? 21 : 4] & 3U) + 1;
        for (std::size_t at = 0; at + lengthSize < packet.size();) {
            std::size_t length = 0;
            for (std::size_t i = 0; i < lengthSize; ++i) length = length << 8 | packet[at + i];
            const int type = sliceType(packet[at + lengthSize]);
            if (type >= 0) return type;
            at += lengthSize + length;
        }
        return -1;
    }
    for (std::size_t at = nextUnit(packet, 0); at < packet.size(); at = nextUnit(packet, at)) {
        const int type = sliceType(packet[at]);
        if (type >= 0) return type;
    }
    return -1;
}

/// The exponential Golomb number (H.264, 9.1) at the beginning of `data`; 0 for one that is too large for a parameter set.
int leadingNumber(std::span<const std::uint8_t> data) {
    if (data.size() < 4) return 0;
    const std::uint32_t bits = AV_RB32(data.data());
    if (bits == 0) return 0;
    const int zeros = __builtin_clz(bits);
    return zeros > 15 ? 0 : static_cast<int>(bits >> (31 - 2 * zeros)) - 1;
}

}  // namespace

KeyframeKind keyframeKind(const AVPacket& packet, const AVCodecParameters& parameters) {
    const std::span<const std::uint8_t> data(packet.data, static_cast<std::size_t>(packet.size));
    switch (parameters.codec_id) {
        case AV_CODEC_ID_H264:
            return firstSliceType(data, parameters) == h264IdrSlice ? KeyframeKind::closed : KeyframeKind::unfit;
        case AV_CODEC_ID_HEVC:
            switch (firstSliceType(data, parameters)) {
                case hevcIdrWithLeading:
                case hevcIdr: return KeyframeKind::closed;
                case hevcCleanRandomAccess: return KeyframeKind::open;
                default: return KeyframeKind::unfit;
            }
        case AV_CODEC_ID_VP9: return KeyframeKind::closed;
        default: {
            const AVCodecDescriptor* codec = avcodec_descriptor_get(parameters.codec_id);
            const bool isIntraOnly = codec && (codec->props & AV_CODEC_PROP_INTRA_ONLY) != 0;
            return isIntraOnly ? KeyframeKind::closed : KeyframeKind::unfit;
        }
    }
}

bool hasParameterSets(AVCodecID codec) { return codec == AV_CODEC_ID_H264 || codec == AV_CODEC_ID_HEVC; }

int freeParameterSet(std::span<const std::uint8_t> extradata) {
    std::bitset<32> taken;
    for (std::size_t at = nextUnit(extradata, 0); at < extradata.size(); at = nextUnit(extradata, at)) {
        const std::span<const std::uint8_t> unit = extradata.subspan(at);
        const int type = h264UnitType(unit[0]);
        int number = -1;
        if (type == h264SequenceParameterSet && unit.size() > 8) number = leadingNumber(unit.subspan(4));
        if (type == h264PictureParameterSet && unit.size() > 5) number = leadingNumber(unit.subspan(1));
        if (number >= 0 && number < static_cast<int>(taken.size())) taken.set(static_cast<std::size_t>(number));
    }
    int number = static_cast<int>(taken.size()) - 1;
    while (number >= 0 && taken.test(static_cast<std::size_t>(number))) --number;
    return number;
}

void breakLink(AVPacket& packet) {
    const std::span<std::uint8_t> data(packet.data, static_cast<std::size_t>(packet.size));
    for (std::size_t at = nextUnit(data, 0); at < data.size(); at = nextUnit(data, at)) {
        if (hevcUnitType(data[at]) != hevcCleanRandomAccess) continue;
        data[at] = static_cast<std::uint8_t>((data[at] & 0x81) | hevcBrokenLinkWithoutLeading << 1);
    }
}

}  // namespace videoanalysis::media::ffmpeg

// Joining copied and encoded pictures: which keyframes a stream can be cut at, what parameter sets the joined stream has, and at
// which times its pictures are decoded.

#include "Platforms/FFmpeg/Export/StreamJoin.h"
#include "FFmpeg/MediaTest.h"
#include "Platforms/FFmpeg/Clips/Bitstream.h"
#include "Platforms/FFmpeg/Clips/ClipScan.h"
#include "Platforms/FFmpeg/Export/ExportTimes.h"

extern "C" {
#include <libavutil/mem.h>
}

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace videoanalysis::media::ffmpeg {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint8_t h264Sequence = 0x67;  // unit headers
constexpr std::uint8_t h264Picture = 0x68;
constexpr std::uint8_t h264IdrSlice = 0x65;
constexpr std::uint8_t h264Slice = 0x41;
constexpr std::uint8_t h264Information = 0x06;

PacketHandle packetOf(const Bytes& bytes, bool isKeyframe = true) {
    PacketHandle packet(av_packet_alloc());
    EXPECT_EQ(av_new_packet(packet.get(), static_cast<int>(bytes.size())), 0);
    std::copy(bytes.begin(), bytes.end(), packet->data);
    packet->flags = isKeyframe ? AV_PKT_FLAG_KEY : 0;
    return packet;
}

Bytes bytesOf(const AVPacket& packet) { return {packet.data, packet.data + packet.size}; }

ParametersHandle parametersOf(AVCodecID codec, const Bytes& extradata = {}) {
    ParametersHandle parameters(avcodec_parameters_alloc());
    parameters->codec_type = AVMEDIA_TYPE_VIDEO;
    parameters->codec_id = codec;
    parameters->extradata = static_cast<std::uint8_t*>(av_mallocz(extradata.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    std::copy(extradata.begin(), extradata.end(), parameters->extradata);
    parameters->extradata_size = static_cast<int>(extradata.size());
    return parameters;
}

/// Units, each after a start code.
Bytes withStartCodes(const std::vector<Bytes>& units) {
    Bytes bytes;
    for (const Bytes& unit : units) {
        bytes.insert(bytes.end(), {0, 0, 0, 1});
        bytes.insert(bytes.end(), unit.begin(), unit.end());
    }
    return bytes;
}

/// Units, each after its length in `lengthSize` bytes.
Bytes withLengths(const std::vector<Bytes>& units, std::size_t lengthSize) {
    Bytes bytes;
    for (const Bytes& unit : units) {
        for (std::size_t i = lengthSize; i-- > 0;) bytes.push_back(static_cast<std::uint8_t>(unit.size() >> (8 * i)));
        bytes.insert(bytes.end(), unit.begin(), unit.end());
    }
    return bytes;
}

/// The beginning of a configuration record whose packets have lengths of `lengthSize` bytes.
Bytes configurationRecord(AVCodecID codec, std::size_t lengthSize) {
    Bytes record(23);
    record[0] = 1;
    record[codec == AV_CODEC_ID_HEVC ? 21 : 4] = static_cast<std::uint8_t>(0xFC | (lengthSize - 1));
    return record;
}

std::uint8_t hevcHeader(int type, int otherBits = 0) { return static_cast<std::uint8_t>(type << 1 | otherBits); }

TEST(BitstreamTest, FindsWhereAStreamCanBeCutWithStartCodesAndWithLengths) {
    struct Case {
        AVCodecID codec;
        std::vector<Bytes> units;
        KeyframeKind kind;
    };
    const std::vector<Case> cases{
        {AV_CODEC_ID_H264, {{h264Information, 5}, {h264IdrSlice, 1, 2}}, KeyframeKind::closed},
        {AV_CODEC_ID_H264, {{h264Information, 5}, {h264Slice, 1, 2}, {h264IdrSlice, 1}}, KeyframeKind::unfit},
        {AV_CODEC_ID_H264, {{h264Information, 5}}, KeyframeKind::unfit},
        {AV_CODEC_ID_HEVC, {{hevcHeader(32), 1, 9}, {hevcHeader(19), 1, 9}}, KeyframeKind::closed},
        {AV_CODEC_ID_HEVC, {{hevcHeader(20), 1, 9}}, KeyframeKind::closed},
        {AV_CODEC_ID_HEVC, {{hevcHeader(39), 1, 9}, {hevcHeader(21), 1, 9}}, KeyframeKind::open},
        {AV_CODEC_ID_HEVC, {{hevcHeader(1), 1, 9}}, KeyframeKind::unfit},
    };
    for (std::size_t i = 0; i < cases.size(); ++i) {
        SCOPED_TRACE(i);
        const Case& c = cases[i];
        EXPECT_EQ(keyframeKind(*packetOf(withStartCodes(c.units)), *parametersOf(c.codec)), c.kind);
        for (const std::size_t lengthSize : {1U, 2U, 4U}) {
            const auto parameters = parametersOf(c.codec, configurationRecord(c.codec, lengthSize));
            EXPECT_EQ(keyframeKind(*packetOf(withLengths(c.units, lengthSize)), *parameters), c.kind) << lengthSize;
        }
    }
    EXPECT_EQ(keyframeKind(*packetOf({1}), *parametersOf(AV_CODEC_ID_VP9)), KeyframeKind::closed);
    EXPECT_EQ(keyframeKind(*packetOf({1}), *parametersOf(AV_CODEC_ID_MJPEG)), KeyframeKind::closed);
    EXPECT_EQ(keyframeKind(*packetOf({1}), *parametersOf(AV_CODEC_ID_MPEG4)), KeyframeKind::unfit);
    // A length that leads far out of the packet.
    const auto parameters = parametersOf(AV_CODEC_ID_H264, configurationRecord(AV_CODEC_ID_H264, 4));
    EXPECT_EQ(keyframeKind(*packetOf({0xFF, 0xFF, 0xFF, 0xFF, h264Information, 1}), *parameters), KeyframeKind::unfit);
}

TEST(BitstreamTest, FindsAFreeNumberForParameterSets) {
    // Exponential Golomb: 0 is the bit 1, 31 is 00000100000, 30 is 000011111.
    const Bytes sequence31{h264Sequence, 0x64, 0, 0x1E, 0x04, 0x00, 0xAC, 0xD9, 0x40};
    const Bytes picture30{h264Picture, 0x0F, 0x80, 0xE3, 0xCB, 0x22};
    const Bytes sequence0{h264Sequence, 0x64, 0, 0x1E, 0xAC, 0xD9, 0x40, 0xA0, 0x2F};
    EXPECT_EQ(freeParameterSet(withStartCodes({sequence0})), 31);
    EXPECT_EQ(freeParameterSet(withStartCodes({sequence31, picture30})), 29);
    EXPECT_EQ(freeParameterSet({}), 31);
    EXPECT_EQ(freeParameterSet(Bytes{0, 0, 1}), 31);
    std::vector<Bytes> all;
    for (unsigned number = 0; number < 32; ++number) {
        // Code words of 11 bits at most, at the beginning of two bytes.
        unsigned width = 0;
        while ((number + 1) >> (width + 1) != 0) ++width;
        const unsigned code = (number + 1) << (16 - (2 * width + 1));
        all.push_back({h264Picture, static_cast<std::uint8_t>(code >> 8), static_cast<std::uint8_t>(code), 9, 9, 9});
    }
    EXPECT_EQ(freeParameterSet(withStartCodes(all)), -1);
}

TEST(BitstreamTest, BreaksTheLinkOfCleanRandomAccessPicturesOnly) {
    const auto packet = packetOf(withStartCodes({{hevcHeader(32), 1, 9}, {hevcHeader(21, 0x80), 1, 9}}));
    breakLink(*packet);
    EXPECT_EQ(bytesOf(*packet), withStartCodes({{hevcHeader(32), 1, 9}, {hevcHeader(18, 0x80), 1, 9}}));
}

TEST(StreamJoinTest, RepeatsParameterSetsInFrontOfKeyframes) {
    const Bytes sets = withStartCodes({{h264Sequence, 1, 2}});
    EncodedEdge edge(sets);
    const auto key = packetOf({7, 8});
    key->pts = 40;
    const auto other = packetOf({9}, false);
    ASSERT_TRUE(edge.add(*key));
    ASSERT_TRUE(edge.add(*other));
    ASSERT_EQ(edge.packets().size(), 2U);
    Bytes expected = sets;
    expected.insert(expected.end(), {7, 8});
    EXPECT_EQ(bytesOf(*edge.packets()[0]), expected);
    EXPECT_EQ(edge.packets()[0]->pts, 40);
    EXPECT_EQ(bytesOf(*edge.packets()[1]), Bytes{9});
}

class JoinedClipTest : public MediaTest {
protected:
    void openClip(const std::string& name) {
        auto opened = ClipFile::open(clip(name), ClipFile::Content::video, never);
        ASSERT_TRUE(opened) << opened.failure().message;
        file = *std::move(opened);
    }

    const std::atomic<bool> never = false;
    std::unique_ptr<ClipFile> file;
};

TEST_F(JoinedClipTest, HasTheParameterSetsOfAllParts) {
    openClip("h264.mp4");
    const Bytes headSets = withStartCodes({{h264Sequence, 1}});
    const Bytes tailSets = withStartCodes({{h264Sequence, 2}});
    const auto join = StreamJoin::make(*file->stream(), true);
    ASSERT_TRUE(join) << join.failure().message;
    EXPECT_EQ((*join)->parameterSet(), 31);
    const auto extradataOf = [&](const Bytes& head, const Bytes& tail) {
        const auto parameters = (*join)->parameters(EncodedEdge(head), EncodedEdge(tail), true);
        EXPECT_TRUE(parameters);
        return Bytes((*parameters)->extradata, (*parameters)->extradata + (*parameters)->extradata_size);
    };
    const Bytes own = extradataOf({}, {});
    ASSERT_GT(own.size(), 8U);
    EXPECT_EQ(own[0], 0) << "start codes, not a configuration record";
    const auto joined = [&](std::vector<Bytes> parts) {
        Bytes bytes = own;
        for (const Bytes& part : parts) bytes.insert(bytes.end(), part.begin(), part.end());
        return bytes;
    };
    EXPECT_EQ(extradataOf(headSets, tailSets), joined({headSets, tailSets}));
    EXPECT_EQ(extradataOf(headSets, headSets), joined({headSets}));
    EXPECT_EQ(extradataOf({}, tailSets), joined({tailSets}));

    // Packets get start codes; without edges they stay as they are.
    const PacketHandle packet(av_packet_alloc());
    ASSERT_TRUE(file->read(*packet) == ClipFile::ReadStatus::packet);
    const Bytes stored = bytesOf(*packet);
    const auto copy = StreamJoin::make(*file->stream(), false);
    ASSERT_TRUE(copy);
    Result<bool> isUsable = (*copy)->convert(*packet, false);
    ASSERT_TRUE(isUsable);
    EXPECT_TRUE(*isUsable);
    EXPECT_EQ(bytesOf(*packet), stored);
    isUsable = (*join)->convert(*packet, false);
    ASSERT_TRUE(isUsable);
    EXPECT_TRUE(*isUsable);
    EXPECT_EQ(Bytes(packet->data, packet->data + 4), (Bytes{0, 0, 0, 1}));
}

TEST_F(JoinedClipTest, KeepsParameterSetsInTheStreamOnlyForJoinedHevc) {
    openClip("hevc.mp4");
    const auto tagOf = [&](bool hasEdges, bool acceptsSetsInStream) {
        const auto join = StreamJoin::make(*file->stream(), hasEdges);
        EXPECT_TRUE(join);
        const auto parameters = (*join)->parameters({}, {}, acceptsSetsInStream);
        EXPECT_TRUE(parameters);
        return (*parameters)->codec_tag;
    };
    EXPECT_EQ(tagOf(true, true), StreamJoin::tagForSetsInStream);
    EXPECT_EQ(tagOf(true, false), 0U);
    EXPECT_EQ(tagOf(false, true), 0U);
}

TEST(ReorderingTest, IsTheMaxNumberOfPicturesDecodedAhead) {
    EXPECT_EQ(reorderingOf({}), 0);
    EXPECT_EQ(reorderingOf({1, 2, 3}), 0);
    EXPECT_EQ(reorderingOf({0, 2, 1, 4, 3}), 1);
    EXPECT_EQ(reorderingOf({0, 4, 2, 1, 3, 8, 6, 5, 7}), 2);
}

TEST_F(JoinedClipTest, StampsIncreasingDecodingTimesBeforePresentation) {
    for (const char* name : {"h264.mp4", "variable.mp4", "edited.mp4", "hevc.mp4"}) {
        SCOPED_TRACE(name);
        openClip(name);
        std::vector<std::int64_t> timestamps;
        const auto scanned = scanClip(*file, never, [&](const AVPacket& packet) { timestamps.push_back(packet.pts); });
        ASSERT_TRUE(scanned) << scanned.failure().message;
        const std::shared_ptr<const ClipIndex>& index = *scanned;
        const std::int64_t first = 7;
        const std::int64_t last = index->frameCount() - 5;
        ExportTimes times(index, first, last);
        EXPECT_EQ(times.ticksOf(first), 0);
        EXPECT_EQ(times.endTimestamp() - times.startTimestamp(), index->endTicksOf(last) - index->ticksOf(first));
        std::vector<std::int64_t> exported;
        for (const std::int64_t timestamp : timestamps) {
            const auto frame = index->frameWithTimestamp(timestamp);
            if (frame && *frame >= first && *frame <= last) exported.push_back(timestamp - times.startTimestamp());
        }
        times.allowReordering(reorderingOf(exported));
        times.allowReordering(0);
        const PacketHandle packet(av_packet_alloc());
        std::int64_t before = std::numeric_limits<std::int64_t>::min();
        for (const std::int64_t time : exported) {
            packet->pts = time;
            times.stamp(*packet);
            const auto frame = index->frameWithTimestamp(time + times.startTimestamp());
            EXPECT_EQ(packet->duration, index->endTicksOf(*frame) - index->ticksOf(*frame));
            EXPECT_LE(packet->dts, packet->pts);
            ASSERT_GT(packet->dts, before);
            before = packet->dts;
        }
    }
}

}  // namespace
}  // namespace videoanalysis::media::ffmpeg

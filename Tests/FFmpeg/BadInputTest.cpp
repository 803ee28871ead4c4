// Clips that are damaged at random, or that change while they are played: for any bytes the player shows a picture or
// fails, and stays within its budget.

#include "FFmpeg/MediaTest.h"
#include "Platforms/FFmpeg/Playback/FrameCache.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <unistd.h>

namespace videoanalysis::media {
namespace {

using Bytes = std::vector<char>;

Bytes readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void writeFile(const std::string& path, const Bytes& bytes) {
    std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

Bytes mutated(Bytes bytes, std::mt19937& random) {
    const auto below = [&random](std::size_t limit) { return limit == 0 ? 0 : random() % limit; };
    switch (below(5)) {
        case 0: bytes.resize(below(bytes.size())); break;  // truncated
        case 1:                                            // flipped bits anywhere
            for (std::size_t i = 1 + below(200); i > 0; --i)
                bytes[below(bytes.size())] ^= static_cast<char>(1 << below(8));
            break;
        case 2:  // absurd numbers in the header
            for (std::size_t i = 1 + below(8); i > 0; --i) {
                const std::size_t at = below(std::min<std::size_t>(bytes.size(), 4096) - 4);
                std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(at), 1 + below(4),
                            static_cast<char>(below(2) ? 0xFF : 0x7F));
            }
            break;
        case 3: {  // a zeroed range
            const std::size_t begin = below(bytes.size());
            const std::size_t end = std::min(bytes.size(), begin + below(20000));
            std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(begin),
                      bytes.begin() + static_cast<std::ptrdiff_t>(end), 0);
            break;
        }
        default: {  // a removed range
            const std::size_t begin = below(bytes.size());
            const std::size_t end = std::min(bytes.size(), begin + below(5000));
            bytes.erase(bytes.begin() + static_cast<std::ptrdiff_t>(begin),
                        bytes.begin() + static_cast<std::ptrdiff_t>(end));
        }
    }
    return bytes;
}

class BadInputTest : public MediaTest {
protected:
    BadInputTest() {
        FFmpegOptions options;
        options.cacheBudget = std::size_t{16} << 20;
        engine = std::make_unique<FFmpegEngine>(options);
    }
    ~BadInputTest() override { std::remove(scratch.c_str()); }

    const std::string scratch = testing::TempDir() + "videoanalysis-bad-input-" + std::to_string(getpid());
};

TEST_F(BadInputTest, MutatedClipsNeitherCrashNorHang) {
    const char* wanted = std::getenv("VIDEOANALYSIS_MUTATIONS");
    const int rounds = wanted ? std::atoi(wanted) : 90;
    const char* begin = std::getenv("VIDEOANALYSIS_FIRST_MUTATION");
    std::vector<Bytes> originals;
    for (const char* name : {"h264.mp4", "open-group.mp4", "hevc.mp4", "vp9.webm", "mpeg4.avi", "mjpeg.avi", "h264.mkv",
                             "offset.ts", "edited.mp4"}) {
        originals.push_back(readFile(clip(name).absoluteString()));
        ASSERT_GT(originals.back().size(), 10000U) << name;
    }
    int played = 0;
    const int first = begin ? std::atoi(begin) : 0;
    for (int round = first; round < rounds; ++round) {
        std::mt19937 random(static_cast<unsigned>(round) + 1);
        writeFile(scratch, mutated(originals[static_cast<std::size_t>(round) % originals.size()], random));
        platform->log.clear();
        const auto player = open(URL(scratch));
        const auto item = player->currentItem();
        ASSERT_NE(item->status(), ItemStatus::unknown) << "round " << round;
        if (item->status() == ItemStatus::readyToPlay) {
            ++played;
            EXPECT_GT(item->duration().seconds(), 0) << "round " << round;
            for (int move = 0; move < 6; ++move) {
                std::optional<bool> finished;
                const double seconds = static_cast<double>(random() % 5000) / 1000;
                player->seek(Time::fromSeconds(seconds, 1000), Time::zero(), Time::zero(),
                             [&](bool f) { finished = f; });
                ASSERT_TRUE(turnUntil([&] { return finished.has_value(); })) << "round " << round;
                item->step(move % 2 == 0 ? -3 : 2);
            }
            player->setRate(8);
            turnFor(0.03);
            EXPECT_TRUE(player->currentFrame());
            const CacheStatistics statistics = engine->cacheStatistics();
            EXPECT_TRUE(statistics.bytes <= statistics.budget ||
                        statistics.frames <= ffmpeg::FrameCache::minFramesPerClip)
                << "round " << round << ": " << statistics.bytes;
        }
        EXPECT_LE(platform->log.size(), 1U) << "round " << round << ": " << platform->log.back();
    }
    EXPECT_GT(played, (rounds - first) / 4);
}

TEST_F(BadInputTest, FileTruncatedWhilePlayingKeepsTheLastGoodFrame) {
    writeFile(scratch, readFile(clip("gop250.mp4").absoluteString()));
    const auto player = open(URL(scratch));
    ASSERT_EQ(player->currentItem()->status(), ItemStatus::readyToPlay);
    ASSERT_EQ(compare(player->currentItem()->duration(), Time(10, 1)), 0);
    std::vector<PlayerItem::Event> events;
    const auto token = player->currentItem()->observe([&](PlayerItem::Event event) { events.push_back(event); });
    std::filesystem::resize_file(scratch, std::filesystem::file_size(scratch) / 2);
    player->setRate(8);
    ASSERT_TRUE(turnUntil([&] { return events.size() >= 2; }));
    EXPECT_EQ(events, (std::vector{PlayerItem::Event::damageFound, PlayerItem::Event::failedToPlayToEnd}));
    EXPECT_EQ(player->rate(), 0);
    EXPECT_GT(shownNumber(*player), 0);
    EXPECT_EQ(platform->log.size(), 1U);
    // Frames before the truncation can still be shown.
    ASSERT_TRUE(seekTo(*player, Time(1, 1)));
    EXPECT_EQ(shownNumber(*player), 30);

    // A deleted file stays readable while it is open.
    std::filesystem::remove(scratch);
    ASSERT_TRUE(stepTo(*player, -5, 25));
    EXPECT_EQ(shownNumber(*player), 25);
}

TEST_F(BadInputTest, EachAttemptToPlayPastATruncationFailsOnce) {
    writeFile(scratch, readFile(clip("gop250.mp4").absoluteString()));
    const auto player = open(URL(scratch));
    const auto item = player->currentItem();
    ASSERT_EQ(item->status(), ItemStatus::readyToPlay);
    std::vector<PlayerItem::Event> ends;
    const auto eventToken = item->observe([&](PlayerItem::Event event) {
        if (event != PlayerItem::Event::damageFound) ends.push_back(event);
    });
    std::filesystem::resize_file(scratch, std::filesystem::file_size(scratch) / 2);
    player->setRate(8);  // skips some frames
    std::int64_t last = -1;
    for (std::size_t attempt = 1; attempt <= 4; ++attempt) {
        ASSERT_TRUE(turnUntil([&] { return ends.size() >= attempt; }));
        turnFor(0.05);
        EXPECT_EQ(ends, std::vector(attempt, PlayerItem::Event::failedToPlayToEnd));
        EXPECT_EQ(player->rate(), 0);
        EXPECT_EQ(compare(player->currentTime(), player->currentFrame()->time()), 0);
        const std::int64_t shown = player->currentFrame()->index();
        EXPECT_TRUE(attempt <= 2 || shown == last) << "the frame stays";
        last = shown;
        player->play();
    }
    ASSERT_TRUE(turnUntil([&] { return ends.size() >= 5; }));
    // Past the truncation nothing can be played, not even to the end.
    ASSERT_TRUE(seekTo(*player, Time(299, 30)));
    player->play();
    ASSERT_TRUE(turnUntil([&] { return ends.size() >= 6; }));
    turnFor(0.05);
    EXPECT_EQ(ends, std::vector(6, PlayerItem::Event::failedToPlayToEnd));
    EXPECT_EQ(platform->log.size(), 1U);
}

/// A clip whose sample table has `chunks` chunks of `perChunk` samples of `sampleSize` bytes each. The first begins where
/// the first picture of gop1.mp4 does, all others in the middle of it.
Bytes clipOfClaims(const Bytes& original, std::uint32_t chunks, std::uint32_t perChunk, std::uint32_t sampleSize) {
    using Text = std::string;
    const Text source(original.begin(), original.end());
    const auto number = [](std::uint32_t value) {
        Text text;
        for (int shift = 24; shift >= 0; shift -= 8) text += static_cast<char>(value >> shift & 0xFF);
        return text;
    };
    const auto box = [&](const Text& kind, const Text& content) {
        return number(static_cast<std::uint32_t>(content.size() + 8)) + kind + content;
    };
    const auto boxOf = [&](const Text& kind) {
        const std::size_t at = source.find(kind) - 4;
        std::size_t size = 0;
        for (std::size_t i = 0; i < 4; ++i) size = size << 8 | static_cast<unsigned char>(source[at + i]);
        return source.substr(at, size);
    };
    constexpr std::size_t dataSize = 60000;
    const Text begin =
        box("ftyp", "isom" + number(512) + "isom") + box("mdat", source.substr(source.find("mdat") + 4, dataSize));
    const auto offset = static_cast<std::uint32_t>(begin.size() - dataSize);
    Text offsets = number(0) + number(chunks) + number(offset);
    for (std::uint32_t i = 1; i < chunks; ++i) offsets += number(offset + 700);
    const std::uint32_t samples = chunks * perChunk;
    const Text table =
        box("stbl", boxOf("stsd") + box("stts", number(0) + number(1) + number(samples) + number(512)) +
                        box("stsc", number(0) + number(1) + number(1) + number(perChunk) + number(1)) +
                        box("stsz", number(0) + number(sampleSize) + number(samples)) + box("stco", offsets));
    const Text media = boxOf("mdhd") + boxOf("hdlr") + box("minf", boxOf("vmhd") + table);
    const Text file = begin + box("moov", boxOf("mvhd") + box("trak", boxOf("tkhd") + box("mdia", media)));
    return {file.begin(), file.end()};
}

/// The peak resident memory of this process, in bytes.
std::int64_t peakMemory() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return std::int64_t{usage.ru_maxrss} * 1024;
}

TEST_F(BadInputTest, ForgedSampleTableCostsNeitherTimeNorMemory) {
    using Clock = std::chrono::steady_clock;
    struct Claim {
        std::uint32_t chunks, perChunk, sampleSize;
    };
    const Bytes original = readFile(clip("gop1.mp4").absoluteString());
    const std::int64_t memory = peakMemory();
    // More samples than bytes, more bytes in samples than in the file, only damage, and more memory than is allowed.
    for (const Claim& claim : {Claim{110000, 9, 3000}, Claim{110000, 4, 3000}, Claim{110000, 4, 5},
                               Claim{110000, 1, 20}, Claim{1, 80'000'000, 1}, Claim{1, 1'000'000, 0}}) {
        SCOPED_TRACE(std::to_string(claim.chunks) + " x " + std::to_string(claim.perChunk) + " of " +
                     std::to_string(claim.sampleSize));
        writeFile(scratch, clipOfClaims(original, claim.chunks, claim.perChunk, claim.sampleSize));
        const auto start = Clock::now();
        const auto player = open(URL(scratch));
        EXPECT_EQ(player->currentItem()->status(), ItemStatus::failed);
        EXPECT_LT(Clock::now() - start, std::chrono::seconds(2));
        EXPECT_EQ(platform->log.size(), 1U);
        platform->log.clear();
    }
    EXPECT_LT(peakMemory() - memory, std::int64_t{700} << 20);

    // One picture, and damage that is plausible: every seek ends, and so does playback.
    const std::size_t sizes =
        std::string(original.begin(), original.end()).find("stsz") + 16;  // the table, after its head
    const auto byteAt = [&](std::size_t at) { return std::uint32_t{static_cast<unsigned char>(original[at])}; };
    writeFile(scratch, clipOfClaims(original, 700, 1, byteAt(sizes + 2) << 8 | byteAt(sizes + 3)));
    auto player = open(URL(scratch));
    ASSERT_EQ(player->currentItem()->status(), ItemStatus::readyToPlay) << player->currentItem()->errorDescription();
    const auto start = Clock::now();
    for (const int seconds : {20, 3, 11}) EXPECT_TRUE(seekTo(*player, Time(seconds, 1)));
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(6));
    EXPECT_EQ(shownNumber(*player), 0);
    const auto end = Clock::now();
    player = nullptr;
    engine = nullptr;
    EXPECT_LT(Clock::now() - end, std::chrono::seconds(1));
}

TEST_F(BadInputTest, ReferencesInsideAFileAreNotOpened) {
    const std::string target = clip("h264.mp4").absoluteString();
    for (const std::string& text : {"#EXTM3U\n#EXT-X-TARGETDURATION:10\n#EXTINF:4,\n" + target + "\n#EXT-X-ENDLIST\n",
                                    "ffconcat version 1.0\nfile " + target + "\n",
                                    std::string("v=0\no=- 0 0 IN IP4 127.0.0.1\ns=x\nc=IN IP4 127.0.0.1\nt=0 "
                                                "0\nm=video 5004 RTP/AVP 96\na=rtpmap:96 H264/90000\n")}) {
        writeFile(scratch, Bytes(text.begin(), text.end()));
        const auto player = open(URL(scratch));
        EXPECT_EQ(player->currentItem()->status(), ItemStatus::failed) << text;
        EXPECT_NE(player->currentItem()->errorDescription().find("playlist"), std::string::npos)
            << player->currentItem()->errorDescription();
    }
}

TEST_F(BadInputTest, PlaysAClipOfOneFrame) {
    const auto player = openReady("one-frame.mp4");
    const auto item = player->currentItem();
    EXPECT_EQ(compare(item->duration(), Time(1, 30)), 0);
    EXPECT_FALSE(item->canStepForward());
    EXPECT_FALSE(item->canStepBackward());
    item->step(1);
    item->step(-1);
    std::vector<PlayerItem::Event> events;
    const auto token = item->observe([&](PlayerItem::Event event) { events.push_back(event); });
    player->play();
    ASSERT_TRUE(turnUntil([&] { return !events.empty(); }));
    EXPECT_EQ(events, std::vector{PlayerItem::Event::playedToEnd});
    EXPECT_EQ(shownNumber(*player), 0);
}

}  // namespace
}  // namespace videoanalysis::media

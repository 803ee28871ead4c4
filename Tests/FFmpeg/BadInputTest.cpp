// Clips that are damaged at random, or that change while they are played: whatever the bytes say, the player comes to a
// picture or to a failed status, and stays within its budget.

#include "FFmpeg/MediaTest.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <random>
#include <string>
#include <vector>

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
        case 0: bytes.resize(below(bytes.size())); break;  // cut off
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
        case 3: {  // a hole
            const std::size_t begin = below(bytes.size());
            const std::size_t end = std::min(bytes.size(), begin + below(20000));
            std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(begin),
                      bytes.begin() + static_cast<std::ptrdiff_t>(end), 0);
            break;
        }
        default: {  // a piece is missing
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
            EXPECT_TRUE(statistics.bytes <= statistics.budget || statistics.frames <= FrameCache::minFramesPerClip)
                << "round " << round << ": " << statistics.bytes;
        }
        EXPECT_LE(platform->log.size(), 1U) << "round " << round << ": " << platform->log.back();
    }
    EXPECT_GT(played, (rounds - first) / 4);
}

TEST_F(BadInputTest, AFileThatShrinksWhilePlayingKeepsTheLastGoodPicture) {
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
    // What is there can still be stepped through.
    ASSERT_TRUE(seekTo(*player, Time(1, 1)));
    EXPECT_EQ(shownNumber(*player), 30);

    // A file that is gone goes on being read by those who have it open.
    std::filesystem::remove(scratch);
    ASSERT_TRUE(stepTo(*player, -5, 25));
    EXPECT_EQ(shownNumber(*player), 25);
}

TEST_F(BadInputTest, AReferenceInsideAFileOpensNothing) {
    const std::string target = clip("h264.mp4").absoluteString();
    for (const std::string& text : {"#EXTM3U\n#EXT-X-TARGETDURATION:10\n#EXTINF:4,\n" + target + "\n#EXT-X-ENDLIST\n",
                                    "ffconcat version 1.0\nfile " + target + "\n",
                                    std::string("v=0\no=- 0 0 IN IP4 127.0.0.1\ns=x\nc=IN IP4 127.0.0.1\nt=0 "
                                                "0\nm=video 5004 RTP/AVP 96\na=rtpmap:96 H264/90000\n")}) {
        writeFile(scratch, Bytes(text.begin(), text.end()));
        const auto player = open(URL(scratch));
        EXPECT_EQ(player->currentItem()->status(), ItemStatus::failed) << text;
    }
}

TEST_F(BadInputTest, OneFrameIsAClip) {
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

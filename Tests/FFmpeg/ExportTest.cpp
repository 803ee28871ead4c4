// Exports of random parts of clips of every kind: the files contain exactly the requested frames, read from their pixels, at their
// times, with their sound, and another program reads them without a warning.

#include "FFmpeg/MediaTest.h"
#include "Platforms/FFmpeg/Clips/ClipDecoder.h"
#include "Platforms/FFmpeg/Clips/ClipScan.h"
#include "Platforms/FFmpeg/Clips/PictureShape.h"
#include "Platforms/FFmpeg/Clips/SoundDecoder.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace videoanalysis::media::ffmpeg {
namespace {

namespace files = std::filesystem;

/// What `command` prints, both outputs.
std::string outputOf(const std::string& command) {
    FILE* pipe = popen((command + " 2>&1").c_str(), "r");
    std::string text;
    char buffer[4096];
    for (std::size_t count = 0; (count = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) text.append(buffer, count);
    pclose(pipe);
    return text;
}

/// All pictures of a clip, decoded one after another.
struct DecodedClip {
    std::shared_ptr<const ClipIndex> index;
    std::vector<int> numbers;  // in the pixels; -1 where there is none
    Size size;                 // of the first, upright
    AVRational pixelAspect{0, 1};
    int colorSpace = 0;
    std::string codec;
};

DecodedClip decode(const URL& url) {
    DecodedClip result;
    const std::atomic<bool> never = false;
    auto file = ClipFile::open(url, ClipFile::Content::video, never);
    EXPECT_TRUE(file) << file.failure().message;
    if (!file) return result;
    const auto index = scanClip(**file, never);
    EXPECT_TRUE(index) << index.failure().message;
    if (!index) return result;
    result.index = *index;
    result.codec = avcodec_get_name((*file)->stream()->codecpar->codec_id);
    result.pixelAspect = (*file)->stream()->sample_aspect_ratio;
    auto made = ClipDecoder::make(*std::move(file), std::make_shared<PicturePool>(), 1, 1 << 24);
    EXPECT_TRUE(made) << made.failure().message;
    if (!made) return result;
    const std::unique_ptr<ClipDecoder>& decoder = *made;
    decoder->setIndex(result.index);
    EXPECT_TRUE(decoder->start(0));
    while (true) {
        FrameHandle picture;
        std::int64_t number = 0;
        const Result<ClipDecoder::Status> status = decoder->next(0, picture, number);
        if (!status || *status == ClipDecoder::Status::endOfStream) break;
        if (*status == ClipDecoder::Status::pending) continue;
        const Bitmap bitmap = convertPicture(*picture, {}, 320, 180);
        result.numbers.push_back(
            readFrameNumber(reinterpret_cast<const std::uint8_t*>(bitmap.pixels.data()), 320, 180, bitmap.bytesPerRow())
                .value_or(-1));
        if (result.numbers.size() > 1) continue;
        result.colorSpace = picture->colorspace;
        result.size = {static_cast<double>(picture->width), static_cast<double>(picture->height)};
        if (orientationOf(*decoder->file().stream(), *picture).swapsSides())
            std::swap(result.size.width, result.size.height);
    }
    return result;
}

/// One channel at 48,000 a second; element 0 is at the first picture. Empty without sound.
std::vector<float> soundOf(const URL& url, double firstPicture) {
    const std::atomic<bool> never = false;
    const auto opened = SoundDecoder::open(url, never);
    std::vector<float> sound;
    if (!opened) return sound;
    const std::unique_ptr<SoundDecoder>& decoder = *opened;
    if (!decoder->start(firstPicture, 1, AudioTimePitchAlgorithm::spectral, 48000)) return sound;
    std::vector<float> stereo;
    while (decoder->next(stereo) == true) {
    }
    for (std::size_t i = 0; i < stereo.size(); i += 2) sound.push_back(stereo[i]);
    const auto shift = static_cast<std::ptrdiff_t>(std::lround((decoder->firstSeconds() - firstPicture) * 48000));
    if (shift > 0) sound.insert(sound.begin(), static_cast<std::size_t>(shift), 0.0F);
    if (shift < 0) sound.erase(sound.begin(), sound.begin() + std::min<std::ptrdiff_t>(-shift, std::ssize(sound)));
    return sound;
}

/// By how many seconds `part` is later in `whole` than at `offset`; searches 0.1 s in both directions.
double delayOf(const std::vector<float>& part, const std::vector<float>& whole, std::ptrdiff_t offset) {
    double best = 0;
    std::ptrdiff_t bestShift = 4800;
    for (std::ptrdiff_t shift = -4800; shift <= 4800; shift += 8) {
        double product = 0;
        for (std::ptrdiff_t i = 0; i < std::ssize(part); i += 4) {
            const std::ptrdiff_t j = i + offset + shift;
            if (j >= 0 && j < std::ssize(whole))
                product += static_cast<double>(part[static_cast<std::size_t>(i)]) * whole[static_cast<std::size_t>(j)];
        }
        if (product > best) {
            best = product;
            bestShift = shift;
        }
    }
    return static_cast<double>(bestShift) / 48000;
}

class ExportTest : public MediaTest {
protected:
    ExportTest() { files::create_directories(folder); }
    ~ExportTest() override {
        files::permissions(folder, files::perms::owner_all);
        files::remove_all(folder);
    }

    URL target(const std::string& name) const { return URL((folder / name).string()); }
    /// The files in the folder, hidden ones too.
    std::size_t fileCount() const {
        return static_cast<std::size_t>(std::distance(files::directory_iterator(folder), {}));
    }

    ExportResult run(const ExportRequest& request) {
        std::optional<ExportResult> result;
        const auto session = engine->startExport(request, [&](const ExportResult& ended) { result = ended; });
        EXPECT_TRUE(turnUntil([&] { return result.has_value(); }, 100));
        return result.value_or(ExportResult{});
    }

    const files::path folder = files::temp_directory_path() / ("export-test-" + std::to_string(getpid()));
};

struct Source {
    const char* name;
    const char* extension;
    const char* codec;  // of the result
    int firstNumber = 0;
    bool hasSound = false;
};

void PrintTo(const Source& source, std::ostream* stream) { *stream << source.name; }

std::string nameOf(const testing::TestParamInfo<Source>& source) {
    std::string name = source.param.name;
    std::replace_if(
        name.begin(), name.end(), [](unsigned char c) { return !std::isalnum(c); }, '_');
    return name;
}

class ExportRangeTest : public ExportTest, public testing::WithParamInterface<Source> {};

TEST_P(ExportRangeTest, CutsRandomRangesFrameExactly) {
    const Source& source = GetParam();
    const DecodedClip original = decode(clip(source.name));
    const auto frames = static_cast<int>(original.numbers.size());
    ASSERT_GT(frames, 1);
    std::mt19937 random(4712);
    const auto below = [&random](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
    const char* scale = std::getenv("VIDEOANALYSIS_EXPORT_SCALE");
    const int ranges = 3 * (scale ? std::atoi(scale) : 1);
    for (int range = 0; range < ranges; ++range) {
        // The whole clip first, then random ranges, short ones as often as long ones.
        int first = range == 0 ? 0 : below(frames);
        int last = range == 0 ? frames - 1 : std::min(frames - 1, first + below(below(2) == 0 ? 12 : frames));
        // Starts anywhere in the first frame and ends after the start of the last one.
        const ClipIndex& index = *original.index;
        const auto lengthOf = [&](int frame) { return index.endTicksOf(frame) - index.ticksOf(frame); };
        const Time start = index.timeOfTicks(index.ticksOf(first) + lengthOf(first) * below(3) / 4);
        const Time end =
            index.timeOfTicks(index.ticksOf(last) + std::max<std::int64_t>(1, lengthOf(last) * below(5) / 4));
        const URL file = target("part-" + std::to_string(range) + source.extension);
        const ExportResult result = run({clip(source.name), start, end, {0, 0, 1, 1}, file});
        ASSERT_EQ(result.status, ExportResult::Status::finished) << result.error;
        SCOPED_TRACE("frames " + std::to_string(first) + " to " + std::to_string(last) + " in " + file.path());

        const DecodedClip part = decode(file);
        std::vector<int> expected;
        for (int frame = first; frame <= last; ++frame) expected.push_back(source.firstNumber + frame);
        ASSERT_EQ(part.numbers, expected);
        EXPECT_EQ(part.codec, source.codec);
        EXPECT_EQ(part.size.width, original.size.width);
        EXPECT_EQ(part.size.height, original.size.height);
        EXPECT_EQ(part.colorSpace, original.colorSpace);
        for (int frame = first; frame <= last; ++frame) {
            const double asked = index.timeOfTicks(index.ticksOf(frame) - index.ticksOf(first)).seconds();
            ASSERT_NEAR(part.index->timeOfTicks(part.index->ticksOf(frame - first)).seconds(), asked, 0.00101) << frame;
        }

        const std::string path = "'" + file.path() + "'";
        EXPECT_EQ(outputOf("ffprobe -v warning -show_streams -of json " + path + " > /dev/null"), "");
        EXPECT_EQ(
            outputOf("ffmpeg -nostdin -v warning -i " + path + " -fps_mode passthrough -enc_time_base -1 -f null -"),
            "");
        std::istringstream counted(outputOf("ffprobe -v error -count_frames -select_streams v:0 -show_entries "
                                            "stream=nb_read_frames -of csv=p=0 " +
                                            path));
        int count = 0;
        EXPECT_TRUE(counted >> count) << counted.str();
        EXPECT_EQ(count, last - first + 1);

        const auto zero = [](const DecodedClip& decoded) {
            return static_cast<double>(decoded.index->zeroTimestamp()) * av_q2d(decoded.index->timeBase());
        };
        const std::vector<float> sound = soundOf(file, zero(part));
        EXPECT_EQ(!sound.empty(), source.hasSound);
        if (sound.size() > 24000) {  // a range with an attack in it
            const std::vector<float> whole = soundOf(clip(source.name), zero(original));
            const double cut = index.timeOfTicks(index.ticksOf(first)).seconds();
            EXPECT_NEAR(delayOf(sound, whole, std::lround(cut * 48000)), 0, 0.020);
            const double length = part.index->timeOfTicks(part.index->durationTicks()).seconds();
            EXPECT_NEAR(static_cast<double>(sound.size()) / 48000, length, 0.045);
        }
    }
    EXPECT_EQ(fileCount(), static_cast<std::size_t>(ranges)) << "another file was left";
}

INSTANTIATE_TEST_SUITE_P(
    AllKinds, ExportRangeTest,
    testing::Values(Source{"h264.mp4", ".mp4", "h264", 0, true}, Source{"gop250.mp4", ".mp4", "h264"},
                    Source{"h264.mkv", ".mkv", "h264"}, Source{"open-group.mp4", ".mp4", "h264"},
                    Source{"offset.ts", ".mp4", "h264"}, Source{"variable.mp4", ".mp4", "h264"},
                    Source{"variable.mkv", ".mkv", "h264"}, Source{"edited.mp4", ".mp4", "h264", 39, true},
                    Source{"rotated.mp4", ".mp4", "h264"}, Source{"hevc.mp4", ".mp4", "hevc"},
                    Source{"vp9.webm", ".webm", "vp9"}, Source{"vp9.webm", ".mp4", "vp9"},
                    Source{"mpeg4.avi", ".mp4", "h264"}, Source{"mjpeg.avi", ".mov", "mjpeg"},
                    Source{"variable-hevc.mp4", ".mp4", "hevc"}, Source{"variable-vp9.webm", ".webm", "vp9"},
                    Source{"variable-mpeg4.mp4", ".mp4", "h264"}, Source{"sound.webm", ".webm", "vp9", 0, true},
                    Source{"sound-hevc.mkv", ".mkv", "hevc", 0, true},
                    Source{"long-sound.mp4", ".mp4", "h264", 0, true}),
    [](const auto& source) { return nameOf(source) + (source.index == 11 ? "_in_mp4" : ""); });

/// The bytes of every packet, without the length or start code in front.
std::vector<std::string> packetsOf(const URL& url) {
    std::vector<std::string> packets;
    const std::atomic<bool> never = false;
    const auto file = ClipFile::open(url, ClipFile::Content::video, never);
    const PacketHandle packet(av_packet_alloc());
    while (file && (*file)->read(*packet) == ClipFile::ReadStatus::packet) {
        packets.emplace_back(reinterpret_cast<const char*>(packet->data) + 4,
                             static_cast<std::size_t>(packet->size) - 4);
        av_packet_unref(packet.get());
    }
    return packets;
}

TEST_F(ExportTest, CopiesCompleteGroupsOfPictures) {
    // Groups of 30 frames: of the frames 25 to 100, those from 30 on can be copied but for one or two at the end.
    struct Case {
        const char* name;
        const char* extension;
        std::size_t least;
    };
    for (const Case& c : {Case{"h264.mp4", ".mp4", 66}, Case{"hevc.mp4", ".mp4", 60}, Case{"vp9.webm", ".webm", 40},
                          Case{"mjpeg.avi", ".mov", 76}, Case{"h264.mkv", ".mkv", 66}}) {
        SCOPED_TRACE(c.name);
        const URL file = target(std::string("part") + c.extension);
        ASSERT_EQ(run({clip(c.name), Time(25 * 100 + 20, 3000), Time(100 * 100 + 20, 3000), {0, 0, 1, 1}, file}).error,
                  "");
        const auto whole = packetsOf(clip(c.name));
        const std::set<std::string> stored(whole.begin(), whole.end());
        const auto part = packetsOf(file);
        EXPECT_EQ(part.size(), 76U);
        // Keyframes may have parameter sets in front.
        const auto copied =
            std::count_if(part.begin(), part.end(), [&](const std::string& bytes) { return stored.contains(bytes); });
        EXPECT_GE(static_cast<std::size_t>(copied), c.least);
    }
}

TEST_F(ExportTest, CropsTheUprightPicture) {
    for (const char* name : {"h264.mp4", "rotated.mp4", "hevc.mp4"}) {
        SCOPED_TRACE(name);
        const auto whole = openReady(name);
        const Size size = whole->currentItem()->presentationSize();
        const Rect crop{0.25, 0.1, 0.5, 0.75};
        const URL file = target(std::string(name));
        ASSERT_EQ(run({clip(name), Time(1, 1), Time(2, 1), crop, file}).error, "");
        const auto part = open(file);
        ASSERT_EQ(part->currentItem()->status(), ItemStatus::readyToPlay) << part->currentItem()->errorDescription();
        EXPECT_NEAR(part->currentItem()->presentationSize().width, size.width * crop.size.width, 2);
        EXPECT_NEAR(part->currentItem()->presentationSize().height, size.height * crop.size.height, 2);
        EXPECT_NEAR(part->currentItem()->duration().seconds(), 1, 0.001);

        ASSERT_TRUE(seekTo(*whole, Time(1, 1)));
        const int width = 200;
        const int height = 200;
        const Bitmap expected = whole->currentFrame()->scaled(static_cast<int>(width / crop.size.width),
                                                              static_cast<int>(std::lround(height / crop.size.height)));
        const Bitmap shown = part->currentFrame()->scaled(width, height);
        double difference = 0;
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                const auto left = static_cast<int>(crop.origin.x * expected.width) + x;
                const auto top = static_cast<int>(crop.origin.y * expected.height) + y;
                const std::uint32_t a = expected.pixels[static_cast<std::size_t>(top * expected.width + left)];
                const std::uint32_t b = shown.pixels[static_cast<std::size_t>(y * width + x)];
                difference += std::abs(static_cast<int>(a >> 8 & 0xFF) - static_cast<int>(b >> 8 & 0xFF));
            }
        }
        EXPECT_LT(difference / (width * height), 4) << "the wrong part, or turned";
    }
}

TEST_F(ExportTest, FailsInOneLineAndLeavesNoFile) {
    const auto expectFailure = [this](const URL& source, const URL& file) {
        SCOPED_TRACE(source.absoluteString() + " to " + file.absoluteString());
        const ExportResult result = run({source, {}, {}, {0, 0, 1, 1}, file});
        EXPECT_EQ(result.status, ExportResult::Status::failed);
        EXPECT_NE(result.error, "");
        EXPECT_EQ(std::count(result.error.begin(), result.error.end(), '\n'), 0);
        EXPECT_EQ(fileCount(), 0U);
    };
    for (const char* name : {"text.mp4", "empty.mp4", "audio-only.mp4", "missing.mp4"}) {
        expectFailure(clip(name), target("part.mp4"));
    }
    expectFailure(clip("h264.mp4"), URL((folder / "missing" / "part.mp4").string()));
    expectFailure(clip("h264.mp4"), target("part.unheard-of"));
    expectFailure(clip("h264.mp4"), URL("https://example.org/part.mp4"));

    // A disk that is full after 20 kilobytes.
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    const auto before = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit tight{20'000, limit.rlim_max};
    setrlimit(RLIMIT_FSIZE, &tight);
    expectFailure(clip("h264.mp4"), target("part.mp4"));
    setrlimit(RLIMIT_FSIZE, &limit);
    std::signal(SIGXFSZ, before);
}

TEST_F(ExportTest, LeavesNoFileWhenCancelledAndReplacesTheTargetWhenFinished) {
    const ExportRequest request{clip("gop250.mp4"), Time(1, 30), {}, {0, 0, 0.9, 0.9}, target("part.mp4")};
    std::optional<ExportResult> result;
    auto session = engine->startExport(request, [&](const ExportResult& ended) { result = ended; });
    ASSERT_TRUE(turnUntil([&] { return session->progress() > 0.05; }));
    EXPECT_FALSE(files::exists(folder / "part.mp4"));
    session->cancel();
    ASSERT_TRUE(turnUntil([&] { return result.has_value(); }));
    EXPECT_EQ(result->status, ExportResult::Status::cancelled);
    EXPECT_EQ(fileCount(), 0U);

    // Destroyed: the completion is not called, no file is left.
    result.reset();
    session = engine->startExport(request, [&](const ExportResult& ended) { result = ended; });
    ASSERT_TRUE(turnUntil([&] { return session->progress() > 0.05; }));
    session = nullptr;
    engine = std::make_unique<FFmpegEngine>();  // the engine before waits for its exports
    while (platform->queue.runTurn()) {
    }
    EXPECT_EQ(fileCount(), 0U);
    EXPECT_FALSE(result);

    // An earlier file stays until the new one is complete.
    std::ofstream(folder / "part.mp4") << "earlier";
    session = engine->startExport(request, [&](const ExportResult& ended) { result = ended; });
    double progress = 0;
    ASSERT_TRUE(turnUntil([&] {
        EXPECT_GE(session->progress(), progress);
        progress = session->progress();
        return result.has_value();
    }));
    EXPECT_EQ(result->status, ExportResult::Status::finished);
    EXPECT_EQ(progress, 1);
    session->cancel();
    EXPECT_EQ(fileCount(), 1U);
    EXPECT_EQ(decode(target("part.mp4")).index->frameCount(), 299);
}

// With pictures that are encoded, and with pictures that are copied.
TEST_F(ExportTest, FailsWhenTheClipIsTruncatedDuringTheExport) {
    for (const Rect& crop : {Rect{0, 0, 0.9, 0.9}, Rect{0, 0, 1, 1}}) {
        SCOPED_TRACE(crop.size.width);
        const files::path source = folder / "source.mp4";
        files::copy_file(clip("gop250.mp4").path(), source);
        const ExportRequest request{URL(source.string()), Time(1, 30), {}, crop, target("part.mp4")};
        std::optional<ExportResult> result;
        const auto session = engine->startExport(request, [&](const ExportResult& ended) { result = ended; });
        ASSERT_TRUE(turnUntil([&] { return session->progress() > 0.02; }));
        files::resize_file(source, files::file_size(source) - 3000);  // in the second group
        ASSERT_TRUE(turnUntil([&] { return result.has_value(); }));
        EXPECT_EQ(result->status, ExportResult::Status::failed);
        EXPECT_EQ(result->error, "the clip broke off while it was being saved");
        files::remove(source);
        EXPECT_EQ(fileCount(), 0U);
    }
}

/// Peak resident memory since the last call, in MB.
long peakMemory() {
    long peak = 0;
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmHWM:")) peak = std::atol(line.c_str() + 6) / 1024;
    }
    std::ofstream("/proc/self/clear_refs") << "5";
    return peak;
}

// H.265 and VP9 only in the long form.
TEST_F(ExportTest, BoundsMemoryForLargePictures) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "sanitizers need more memory";
#endif
    std::vector<std::string> encoders = {"libx264 -preset ultrafast"};
    if (std::getenv("VIDEOANALYSIS_EXPORT_SCALE")) {
        encoders.insert(encoders.end(), {"libx265 -preset ultrafast -x265-params log-level=none",
                                         "libvpx-vp9 -deadline realtime -cpu-used 8"});
    }
    const files::path source = folder / "large.mp4";
    for (const std::string& encoder : encoders) {
        SCOPED_TRACE(encoder);
        ASSERT_EQ(outputOf("ffmpeg -nostdin -v error -y -f lavfi -i testsrc2=s=7680x4320:r=30 -frames:v 10 -pix_fmt "
                           "yuv420p -g 8 -c:v " +
                           encoder + " '" + source.string() + "'"),
                  "");
        peakMemory();
        ASSERT_EQ(run({URL(source.string()), {}, {}, {0, 0, 0.99, 0.99}, target("part.mp4")}).error, "");
        const long peak = peakMemory();
        RecordProperty("peak " + encoder.substr(0, encoder.find(' ')), std::to_string(peak));
        EXPECT_LT(peak, 1500);
        files::remove(folder / "part.mp4");
    }
}

TEST_F(ExportTest, ExportsTheReadablePartOfDamagedAndTinyClips) {
    ASSERT_EQ(run({clip("one-frame.mp4"), {}, {}, {0, 0, 1, 1}, target("one.mp4")}).error, "");
    EXPECT_EQ(decode(target("one.mp4")).numbers, std::vector<int>{0});
    // An end before the start, and moments outside the clip, still give a frame.
    ASSERT_EQ(run({clip("h264.mp4"), Time(2, 1), Time(1, 1), {0, 0, 1, 1}, target("turned.mp4")}).error, "");
    EXPECT_EQ(decode(target("turned.mp4")).numbers, std::vector<int>{60});
    ASSERT_EQ(run({clip("h264.mp4"), Time(900, 1), Time(-5, 1), {0, 0, 1, 1}, target("outside.mp4")}).error, "");
    EXPECT_EQ(decode(target("outside.mp4")).numbers, std::vector<int>{119});

    ASSERT_EQ(run({clip("truncated.mp4"), Time(10, 30), {}, {0, 0, 1, 1}, target("truncated.mp4")}).error, "");
    const std::vector<int> found = decode(target("truncated.mp4")).numbers;
    ASSERT_GT(found.size(), 20U);
    EXPECT_EQ(found.front(), 10);
    EXPECT_EQ(found.back(), 10 + static_cast<int>(found.size()) - 1);

    for (const Rect& crop : {Rect{0, 0, 1, 1}, Rect{0, 0, 0.98, 1}}) {
        ASSERT_EQ(run({clip("damaged.mp4"), Time(5, 30), Time(110, 30), crop, target("damaged.mp4")}).error, "");
        const std::vector<int> numbers = decode(target("damaged.mp4")).numbers;
        ASSERT_GT(numbers.size(), 80U);
        if (crop.size.width == 1) {
            EXPECT_EQ(numbers.front(), 5);
            EXPECT_EQ(numbers.back(), 109);
        }
    }
}

TEST_F(ExportTest, FinishesOrFailsWithAReasonForFlippedBytes) {
    std::mt19937 random(99);
    const char* scale = std::getenv("VIDEOANALYSIS_EXPORT_SCALE");
    const int rounds = 3 * (scale ? std::atoi(scale) : 1);
    for (const char* name : {"h264.mp4", "hevc.mp4", "vp9.webm", "h264.mkv", "offset.ts", "mpeg4.avi"}) {
        std::ifstream stream(clip(name).path(), std::ios::binary);
        const std::string whole((std::istreambuf_iterator<char>(stream)), {});
        ASSERT_FALSE(whole.empty());
        for (int round = 0; round < rounds; ++round) {
            std::string bytes = whole;
            for (int flip = 0; flip < 40; ++flip) bytes[random() % bytes.size()] = static_cast<char>(random());
            const files::path damaged = folder / ("damaged" + files::path(name).extension().string());
            std::ofstream(damaged, std::ios::binary) << bytes;
            for (const Rect& crop : {Rect{0, 0, 1, 1}, Rect{0.1, 0.1, 0.5, 0.5}}) {
                SCOPED_TRACE(std::string(name) + " round " + std::to_string(round));
                const ExportResult result =
                    run({URL(damaged.string()), Time(1, 2), Time(3, 1), crop, target("part.mp4")});
                EXPECT_EQ(result.error.empty(), result.status == ExportResult::Status::finished) << result.error;
                EXPECT_EQ(fileCount(), result.error.empty() ? 2U : 1U);
                files::remove(folder / "part.mp4");
            }
            files::remove(damaged);
        }
    }
}

}  // namespace
}  // namespace videoanalysis::media::ffmpeg

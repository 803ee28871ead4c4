// Parts of clips of every kind, cut out at random: the frames in the file are the ones asked for, read from their pixels, at
// their times; the sound stays with them; and another program reads the file without a word.

#include "FFmpeg/MediaTest.h"
#include "Platforms/FFmpeg/ClipDecoder.h"
#include "Platforms/FFmpeg/ClipScan.h"
#include "Platforms/FFmpeg/PictureShape.h"
#include "Platforms/FFmpeg/SoundDecoder.h"

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
#include <sstream>
#include <string>
#include <vector>

namespace videoanalysis::media {
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
    std::string error;
    auto file = ClipFile::open(url, ClipFile::Content::video, never, error);
    EXPECT_TRUE(file) << error;
    if (!file) return result;
    result.index = scanClip(*file, never);
    result.codec = avcodec_get_name(file->stream()->codecpar->codec_id);
    result.pixelAspect = file->stream()->sample_aspect_ratio;
    auto decoder = ClipDecoder::make(std::move(file), std::make_shared<PicturePool>(), 1, 1 << 24, error);
    EXPECT_TRUE(decoder && result.index) << error;
    if (!decoder || !result.index) return result;
    decoder->setIndex(result.index);
    EXPECT_TRUE(decoder->start(0));
    for (auto state = ClipDecoder::Result::pending; state == ClipDecoder::Result::pending || state == ClipDecoder::Result::frame;) {
        FrameHandle picture;
        std::int64_t number = 0;
        state = decoder->next(0, picture, number);
        if (state != ClipDecoder::Result::frame) continue;
        const Bitmap bitmap = convertPicture(*picture, {}, 320, 180);
        result.numbers.push_back(readFrameNumber(reinterpret_cast<const std::uint8_t*>(bitmap.pixels.data()), 320, 180,
                                                 bitmap.bytesPerRow())
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
    const auto decoder = SoundDecoder::open(url, never);
    std::vector<float> sound;
    if (!decoder || !decoder->start(firstPicture, 1, AudioTimePitchAlgorithm::spectral, 48000)) return sound;
    std::vector<float> stereo;
    while (decoder->next(stereo)) {
    }
    for (std::size_t i = 0; i < stereo.size(); i += 2) sound.push_back(stereo[i]);
    const auto shift = static_cast<std::ptrdiff_t>(std::lround((decoder->firstSeconds() - firstPicture) * 48000));
    if (shift > 0) sound.insert(sound.begin(), static_cast<std::size_t>(shift), 0.0F);
    if (shift < 0) sound.erase(sound.begin(), sound.begin() + std::min<std::ptrdiff_t>(-shift, std::ssize(sound)));
    return sound;
}

/// By how many seconds `part` is later in `whole` than at `offset`; at most 0.1 is found.
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
    const char* codec;      // of the result
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

TEST_P(ExportRangeTest, ARandomRangeIsCutFrameExactly) {
    const Source& source = GetParam();
    const DecodedClip original = decode(clip(source.name));
    const auto frames = static_cast<int>(original.numbers.size());
    ASSERT_GT(frames, 1);
    std::mt19937 random(4712);
    const auto below = [&random](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
    const char* scale = std::getenv("VIDEOANALYSIS_EXPORT_SCALE");
    const int ranges = 3 * (scale ? std::atoi(scale) : 1);
    for (int range = 0; range < ranges; ++range) {
        // The whole clip first; then anything, short ranges as often as long ones.
        int first = range == 0 ? 0 : below(frames);
        int last = range == 0 ? frames - 1
                              : std::min(frames - 1, first + below(below(2) == 0 ? 12 : frames));
        // Anywhere in the first frame, and past the beginning of the last one.
        const ClipIndex& index = *original.index;
        const auto lengthOf = [&](int frame) { return index.endTicksOf(frame) - index.ticksOf(frame); };
        const Time start = index.timeOfTicks(index.ticksOf(first) + lengthOf(first) * below(3) / 4);
        const Time end = index.timeOfTicks(index.ticksOf(last) + std::max<std::int64_t>(1, lengthOf(last) * below(5) / 4));
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
        EXPECT_EQ(outputOf("ffmpeg -nostdin -v warning -i " + path + " -fps_mode passthrough -enc_time_base -1 -f null -"), "");
        std::istringstream counted(outputOf("ffprobe -v error -count_frames -select_streams v:0 -show_entries "
                                            "stream=nb_read_frames -of csv=p=0 " + path));
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
    EXPECT_EQ(fileCount(), static_cast<std::size_t>(ranges)) << "something else was left";
}

INSTANTIATE_TEST_SUITE_P(
    AllKinds, ExportRangeTest,
    testing::Values(Source{"h264.mp4", ".mp4", "h264", 0, true}, Source{"gop250.mp4", ".mp4", "h264"},
                    Source{"h264.mkv", ".mkv", "h264"}, Source{"open-group.mp4", ".mp4", "h264"},
                    Source{"offset.ts", ".mp4", "h264"}, Source{"variable.mp4", ".mp4", "h264"},
                    Source{"variable.mkv", ".mkv", "h264"}, Source{"edited.mp4", ".mp4", "h264", 39, true},
                    Source{"rotated.mp4", ".mp4", "h264"}, Source{"hevc.mp4", ".mp4", "hevc"},
                    Source{"vp9.webm", ".webm", "vp9"}, Source{"vp9.webm", ".mp4", "vp9"},
                    Source{"mpeg4.avi", ".mp4", "h264"}, Source{"mjpeg.avi", ".mov", "mjpeg"}),
    [](const auto& source) { return nameOf(source) + (source.index == 11 ? "_in_mp4" : ""); });

}  // namespace
}  // namespace videoanalysis::media

#include "Testing/FrameNumber.h"

#include "Testing/FrameCode.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace videoanalysis {
namespace {

struct Picture {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> bytes;

    std::optional<int> number() const {
        return readFrameNumber(bytes.data(), width, height, std::ptrdiff_t{4} * width);
    }
    std::optional<int> number(const FrameRectangle& frame) const {
        return readFrameNumber(bytes.data(), width, height, std::ptrdiff_t{4} * width, frame);
    }
};

// The frames of a test clip that pass `filter`, decoded by the ffmpeg program.
std::vector<Picture> decode(const std::string& clip, int width, int height, const std::string& filter) {
    const std::string command = "ffmpeg -nostdin -loglevel error -i " VIDEOANALYSIS_TEST_CLIPS_DIR "/" + clip +
                                " -vf '" + filter + "' -fps_mode passthrough -pix_fmt bgra -f rawvideo -";
    std::vector<Picture> pictures;
    std::FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) {
        return pictures;
    }
    Picture picture{width, height, std::vector<std::uint8_t>(static_cast<std::size_t>(width * height * 4))};
    while (std::fread(picture.bytes.data(), picture.bytes.size(), 1, pipe) == 1) {
        pictures.push_back(picture);
    }
    pclose(pipe);
    return pictures;
}

TEST(FrameNumber, IsReadFromEveryFrameAtAnyScale) {
    struct Size {
        int width;
        int height;
    };
    for (const Size size : {Size{640, 360}, Size{1280, 720}, Size{301, 169}, Size{160, 90}, Size{480, 480}}) {
        const auto pictures = decode("h264.mp4", size.width, size.height,
                                     "scale=" + std::to_string(size.width) + ":" + std::to_string(size.height));
        ASSERT_EQ(pictures.size(), 120u) << size.width;
        for (std::size_t i = 0; i < pictures.size(); ++i) {
            ASSERT_EQ(pictures[i].number(), static_cast<int>(i)) << size.width << " x " << size.height;
        }
    }
}

TEST(FrameNumber, IsReadFromAPartOfThePicture) {
    const auto pictures =
        decode("h264.mp4", 500, 400, "trim=start_frame=77:end_frame=78,scale=400:225,pad=500:400:60:90");
    ASSERT_EQ(pictures.size(), 1u);
    EXPECT_EQ(pictures[0].number({60, 90, 400, 225}), 77);
    EXPECT_EQ(pictures[0].number({60.4, 89.6, 400, 225}), 77);
    EXPECT_EQ(pictures[0].number(), std::nullopt);
    EXPECT_EQ(pictures[0].number({160, 90, 400, 225}), std::nullopt) << "extends beyond the picture";
    EXPECT_EQ(pictures[0].number({60, -1, 400, 225}), std::nullopt);
}

TEST(FrameNumber, IsNotFoundInOtherPictures) {
    const std::string first = "trim=start_frame=77:end_frame=78";
    for (const std::string& spoilt : {first + ",hflip", first + ",vflip", first + ",negate", first + ",boxblur=40",
                                      first + ",crop=600:340:20:20,scale=640:360", first + ",eq=contrast=0.2",
                                      std::string("tmix=frames=2,trim=start_frame=78:end_frame=79")}) {
        const auto pictures = decode("h264.mp4", 640, 360, spoilt);
        ASSERT_EQ(pictures.size(), 1u) << spoilt;
        EXPECT_EQ(pictures[0].number(), std::nullopt) << spoilt;
    }
    EXPECT_EQ((Picture{64, 36, std::vector<std::uint8_t>(64 * 36 * 4, 255)}.number()), std::nullopt);
}

TEST(FrameNumber, RejectsAnySingleWrongCell) {
    using samples::FrameCode;
    for (const int number : {0, 1, 77, 4660, FrameCode::largestNumber}) {
        FrameCode::Cells cells = FrameCode::encode(number);
        ASSERT_EQ(FrameCode::decode(cells), number);
        for (bool& cell : cells) {
            cell = !cell;
            EXPECT_EQ(FrameCode::decode(cells), std::nullopt);
            cell = !cell;
        }
    }
}

}  // namespace
}  // namespace videoanalysis

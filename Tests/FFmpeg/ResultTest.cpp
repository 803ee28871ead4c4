// The outcome type of the media engine's operations.

#include "Platforms/FFmpeg/Result.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <type_traits>

namespace videoanalysis::media::ffmpeg {
namespace {

Result<std::shared_ptr<const std::string>> makeText(bool succeeds) {
    if (!succeeds) return Failure{"no text"};
    return std::make_shared<std::string>("text");  // converts to the declared pointer
}

Result<std::unique_ptr<int>> makeLength(bool succeeds) {
    const auto text = makeText(succeeds);
    if (!text) return text.failure();
    return std::make_unique<int>(static_cast<int>((*text)->size()));
}

TEST(ResultTest, HoldsAValueOrPassesTheFailureOn) {
    auto length = makeLength(true);
    ASSERT_TRUE(length);
    const std::unique_ptr<int> taken = std::move(*length);
    EXPECT_EQ(*taken, 4);
    const auto failed = makeLength(false);
    ASSERT_FALSE(failed);
    EXPECT_EQ(failed.failure().message, "no text");

    // A false value is still a value.
    const Result<bool> endOfStream = false;
    EXPECT_TRUE(endOfStream);
    EXPECT_FALSE(*endOfStream);

    EXPECT_TRUE(Result<void>());
    const Result<void> refused = Failure{"refused"};
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.failure().message, "refused");
    static_assert(!std::is_convertible_v<Result<int>, bool>);
}

}  // namespace
}  // namespace videoanalysis::media::ffmpeg

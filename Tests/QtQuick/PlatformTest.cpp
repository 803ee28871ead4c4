#include "Platforms/QtQuick/QtQuickPlatform.h"

#include "Platforms/Cairo/CairoEngine.h"
#include "Platforms/FFmpeg/FFmpegEngine.h"
#include "Platforms/QtQuick/TemporaryFolder.h"
#include "Testing/ScreenDriver.h"
#include "VideoAnalysis/Platform/Dispatch.h"
#include "VideoAnalysis/Platform/Recording.h"
#include "VideoAnalysis/Platform/UI/Device.h"

#include <QEventLoop>
#include <QQuickWindow>
#include <QTimer>

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

namespace videoanalysis {
namespace {

using host::ScreenDriver;

class QtQuickPlatformTest : public testing::Test {
protected:
    void SetUp() override {
        window.resize(800, 600);
        platform = std::make_shared<QtQuickPlatform>(window, std::make_unique<media::FFmpegEngine>(),
                                                     std::make_unique<graphics::CairoEngine>());
        installPlatform(platform);
    }

    QQuickWindow window;
    std::shared_ptr<QtQuickPlatform> platform;
};

// A chain that never ends must not keep the window from its events.
TEST_F(QtQuickPlatformTest, EndlessPostingDoesNotStarveTimers) {
    bool goOn = true;
    long hops = 0;
    std::function<void()> hop = [&] {
        ++hops;
        if (goOn) dispatch::mainQueue().async([&] { hop(); });
    };
    dispatch::mainQueue().async([&] { hop(); });
    int ticks = 0;
    const auto timer = platform->scheduleTimer(0.005, true, [&] { ++ticks; });
    EXPECT_TRUE(ScreenDriver::wait([&] { return ticks >= 5; }, 3000));
    EXPECT_GT(hops, 1000) << "while the chain continues";
    goOn = false;
    timer->invalidate();
    EXPECT_FALSE(timer->isValid());
    const int stopped = ticks;
    int later = 0;
    const auto next = platform->scheduleTimer(0.005, true, [&] { ++later; });
    EXPECT_TRUE(ScreenDriver::wait([&] { return later >= 5; }));
    next->invalidate();
    EXPECT_EQ(ticks, stopped);
}

// A modal dialog that a host shows inside a block: what waits behind it, what it posts and what comes from other threads runs.
TEST_F(QtQuickPlatformTest, QueueRunsInsideANestedEventLoop) {
    std::vector<std::string> order;
    QEventLoop dialog;
    bool hasReturned = false;
    dispatch::mainQueue().async([&] {
        order.emplace_back("dialog");
        std::thread other;
        dispatch::mainQueue().async([&] {
            order.emplace_back("posted inside");
            QEventLoop second;
            dispatch::mainQueue().async([&] {
                order.emplace_back("second dialog");
                second.quit();
            });
            EXPECT_EQ(second.exec(), 0);
            other = std::thread([&] {
                dispatch::mainQueue().asyncAfter(0.01, [&] {
                    order.emplace_back("from another thread");
                    dialog.quit();
                });
            });
        });
        QTimer::singleShot(5000, &dialog, [&] { dialog.exit(1); });
        EXPECT_EQ(dialog.exec(), 0) << "the queue stood still";
        if (other.joinable()) other.join();
        hasReturned = true;
    });
    dispatch::mainQueue().async([&] { order.emplace_back("rest of the turn"); });
    EXPECT_TRUE(ScreenDriver::wait([&] { return hasReturned; }));
    EXPECT_EQ(order, (std::vector<std::string>{"dialog", "rest of the turn", "posted inside", "second dialog",
                                               "from another thread"}));
    bool isAlive = false;
    dispatch::mainQueue().async([&] { isAlive = true; });
    EXPECT_TRUE(ScreenDriver::wait([&] { return isAlive; }));
}

TEST_F(QtQuickPlatformTest, ReportsDeviceScreenAndFolders) {
    EXPECT_EQ(platform->device().orientation(), ui::DeviceOrientation::landscapeLeft);
    window.resize(600, 800);
    EXPECT_TRUE(
        ScreenDriver::wait([&] { return platform->device().orientation() == ui::DeviceOrientation::portrait; }));
    EXPECT_EQ(platform->mainScreen().size(), (Size{600, 800}));

    const std::string folder = platform->temporaryDirectory();
    EXPECT_TRUE(std::filesystem::is_directory(folder));
    EXPECT_EQ(platform->temporaryDirectory(), folder);

    recording::Error error;
    EXPECT_FALSE(platform->screenRecorder().isAvailable());
    platform->screenRecorder().startRecording([&](recording::Error answer) { error = answer; });
    EXPECT_FALSE(error) << "answers come later";
    EXPECT_TRUE(ScreenDriver::wait([&] { return error.has_value(); }));
}

TEST_F(QtQuickPlatformTest, TemporaryFilesOfKilledProgramsAreRemovedAtTheNextStart) {
    int path[2];
    ASSERT_EQ(::pipe(path), 0);
    const pid_t killed = ::fork();
    if (killed == 0) {
        qt::TemporaryFolder folder;
        const std::string name = folder.path();
        std::ofstream(name + "/clip.mp4") << "clip";
        (void)!::write(path[1], name.data(), name.size());
        ::raise(SIGKILL);
    }
    ::waitpid(killed, nullptr, 0);
    char name[4096] = {};
    ASSERT_GT(::read(path[0], name, sizeof name - 1), 0);
    ::close(path[0]);
    ::close(path[1]);
    ASSERT_TRUE(std::filesystem::exists(std::string(name) + "/clip.mp4"));
    const std::string running = platform->temporaryDirectory();
    std::ofstream(running + "/clip.mp4") << "clip";

    qt::TemporaryFolder next;
    EXPECT_FALSE(std::filesystem::exists(name));
    EXPECT_TRUE(std::filesystem::exists(running + "/clip.mp4"));
    const std::string own = next.path();
    EXPECT_NE(own, running);
    EXPECT_EQ(std::filesystem::status(own).permissions(), std::filesystem::perms::owner_all);
}

}  // namespace
}  // namespace videoanalysis

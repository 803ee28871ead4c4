#include "Platforms/QtQuick/QtQuickPlatform.h"

#include "Platforms/Cairo/CairoEngine.h"
#include "Platforms/FFmpeg/FFmpegEngine.h"
#include "Platforms/QtQuick/TemporaryFolder.h"
#include "Testing/ScreenDriver.h"
#include "VideoAnalysis/Platform/Dispatch.h"
#include "VideoAnalysis/Platform/Recording.h"
#include "VideoAnalysis/Platform/UI/Device.h"
#include "VideoAnalysis/Platform/UI/ViewController.h"

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

/// Writes down what happens to it.
class Diary : public ui::ViewController {
public:
    std::vector<std::string> entries;

    void viewDidLoad() override { entries.emplace_back("loaded"); }
    void viewWillAppear(bool) override { entries.emplace_back("will appear"); }
    void viewDidAppear(bool) override { entries.emplace_back("did appear"); }
    void viewWillDisappear(bool) override { entries.emplace_back("will disappear"); }
    void viewDidDisappear(bool) override { entries.emplace_back("did disappear"); }
};

class QtQuickPlatformTest : public testing::Test {
protected:
    void SetUp() override {
        window.resize(800, 600);
        platform = std::make_shared<QtQuickPlatform>(window, std::make_unique<media::FFmpegEngine>(),
                                                     std::make_unique<graphics::CairoEngine>());
        installPlatform(platform);
    }

    /// Presents a screen over `below` and dismisses it again. What an earlier presentation has left to do comes before.
    static void presentAnother(ui::ViewController& below) {
        const auto another = std::make_shared<Diary>();
        bool isOver = false;
        below.present(another, true, [&] { another->dismiss(true, [&] { isOver = true; }); });
        EXPECT_TRUE(ScreenDriver::wait([&] { return isOver; }));
    }

    QQuickWindow window;
    std::shared_ptr<QtQuickPlatform> platform;
};

TEST_F(QtQuickPlatformTest, PostsFromAnyThreadRunInOrderOnTheMainThread) {
    std::vector<int> order;
    const auto mainThread = std::this_thread::get_id();
    std::thread([&] {
        dispatch::mainQueue().asyncAfter(0.05, [&] {
            EXPECT_EQ(std::this_thread::get_id(), mainThread);
            order.push_back(3);
        });
        for (int i = 0; i < 3; ++i) {
            dispatch::mainQueue().async([&, i] {
                EXPECT_EQ(std::this_thread::get_id(), mainThread);
                order.push_back(i);
            });
        }
    }).join();
    EXPECT_TRUE(order.empty());
    EXPECT_TRUE(ScreenDriver::wait([&] { return order.size() == 4; }));
    EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 3}));
}

// A chain that never ends must not keep the window from its events.
TEST_F(QtQuickPlatformTest, AnEndlessChainOfPostsLeavesRoomForTimers) {
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
    EXPECT_GT(hops, 1000) << "and the chain goes on meanwhile";
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
TEST_F(QtQuickPlatformTest, TheQueueGoesOnInAnEventLoopThatABlockRuns) {
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

TEST_F(QtQuickPlatformTest, AScreenShownAgainWhileItFadesOutHasLeftFirst) {
    const auto start = platform->viewController(*window.contentItem());
    const auto diary = std::make_shared<Diary>();
    start->present(diary, true, {});
    EXPECT_TRUE(ScreenDriver::wait([&] { return diary->entries.size() == 3; }));
    diary->dismiss(true, [&] { diary->entries.emplace_back("dismissed"); });
    EXPECT_TRUE(ScreenDriver::wait([&] { return diary->entries.back() == "will disappear"; }));
    bool isBack = false;
    start->present(diary, true, [&] { isBack = true; });
    start->present(std::make_shared<Diary>(), true, [&] { ADD_FAILURE() << "one screen at a time"; });
    EXPECT_TRUE(ScreenDriver::wait([&] { return isBack; }));
    EXPECT_EQ(diary->entries, (std::vector<std::string>{"loaded", "will appear", "did appear", "will disappear",
                                                        "did disappear", "dismissed", "will appear", "did appear"}));
    diary->dismiss(false, {});
    EXPECT_TRUE(ScreenDriver::wait([&] { return diary->entries.back() == "did disappear"; }));
}

TEST_F(QtQuickPlatformTest, AnswersForItsSurroundings) {
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

// The window is never shown here: appearance must not depend on frames being painted.
TEST_F(QtQuickPlatformTest, AppearanceIsToldOnceInOrderAndNeverFromInsideTheCall) {
    const auto start = platform->viewController(*window.contentItem());
    for (const bool animated : {true, false}) {
        SCOPED_TRACE(animated);
        const auto diary = std::make_shared<Diary>();
        start->present(diary, animated, [&] { diary->entries.emplace_back("presented"); });
        EXPECT_TRUE(diary->entries.empty());
        EXPECT_EQ(start->presentedViewController(), diary);
        EXPECT_TRUE(ScreenDriver::wait([&] { return diary->entries.size() == 4; }));
        diary->dismiss(animated, [&] { diary->entries.emplace_back("dismissed"); });
        EXPECT_EQ(diary->entries.size(), 4U);
        EXPECT_TRUE(ScreenDriver::wait([&] { return diary->entries.size() == 7; }));
        presentAnother(*start);
        EXPECT_EQ(diary->entries, (std::vector<std::string>{"loaded", "will appear", "did appear", "presented",
                                                            "will disappear", "did disappear", "dismissed"}));
        EXPECT_EQ(start->presentedViewController(), nullptr);
    }
}

TEST_F(QtQuickPlatformTest, ADismissalInTheMiddleOfAPresentationCompletesBoth) {
    const auto start = platform->viewController(*window.contentItem());
    const auto first = std::make_shared<Diary>();
    const auto second = std::make_shared<Diary>();
    start->present(first, true, [&] { first->entries.emplace_back("presented"); });
    first->dismiss(true, [&] { first->entries.emplace_back("dismissed"); });
    start->present(second, true, {});  // over the one that is on its way out
    EXPECT_TRUE(ScreenDriver::wait([&] { return second->entries.size() == 3 && first->entries.size() >= 6; }));
    presentAnother(*second);
    EXPECT_EQ(std::count(first->entries.begin(), first->entries.end(), "presented"), 1);
    EXPECT_EQ(first->entries.back(), "dismissed");
    EXPECT_EQ(std::count(first->entries.begin(), first->entries.end(), "did appear"), 1);
    EXPECT_EQ(std::count(first->entries.begin(), first->entries.end(), "did disappear"), 1);
    EXPECT_EQ(second->entries.back(), "did appear");

    bool hasCompleted = false;
    first->dismiss(true, [&] { hasCompleted = true; });  // it is not on the screen
    EXPECT_FALSE(hasCompleted);
    EXPECT_TRUE(ScreenDriver::wait([&] { return hasCompleted; }));
    second->dismiss(false, {});
    EXPECT_TRUE(ScreenDriver::wait([&] { return second->entries.back() == "did disappear"; }));
}

}  // namespace
}  // namespace videoanalysis

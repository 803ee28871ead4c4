#pragma once
// An analysis of two clips on an in-memory screen, for benchmarks of visible behaviour. Opens the screen, waits until the
// players are idle, and runs the event loop.

#include "Platforms/QtQuick/QtQuickPlatform.h"
#include "VideoAnalysis/Analysis/VideoAnalysisController.h"

#include <QGuiApplication>
#include <QQuickItem>
#include <QQuickWindow>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace videoanalysis::bench {

/// Main thread only, one at a time.
class BenchScreen {
public:
    /// 1280 x 800 points with `clip` in both players, paused on the first frame with the next ones prefetched. Throws if the
    /// screen does not become ready.
    explicit BenchScreen(const std::string& clip);
    BenchScreen(const BenchScreen&) = delete;
    BenchScreen& operator=(const BenchScreen&) = delete;
    ~BenchScreen();

    QQuickWindow& window() { return window_; }
    /// Count of frames displayed by the window so far.
    int frames() const { return frames_; }
    /// The frame displayed by a player.
    std::int64_t shownFrame(std::size_t player) const;

    static void runFor(int milliseconds);
    /// Handles events until `condition` holds; throws after 30 s.
    static void waitUntil(const std::function<bool()>& condition);

private:
    bool isReady() const;

    int argumentCount_ = 1;
    char name_[6] = "bench";
    char* arguments_[2] = {name_, nullptr};
    QGuiApplication application_;
    QQuickWindow window_;
    QQuickItem start_;
    std::shared_ptr<QtQuickPlatform> platform_;
    std::optional<VideoAnalysisController> analysis_;
    int frames_ = 0;
};

}  // namespace videoanalysis::bench

#pragma once
// An analysis of two clips on a screen in memory, for benchmarks of what a person sees: it opens the screen, waits until the
// players are at rest, and runs the event loop.

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

/// Main thread, one at a time.
class BenchScreen {
public:
    /// 1280 x 800 points with `clip` in both players, paused on their first frames, decoded ahead. Throws when the screen
    /// does not get ready.
    explicit BenchScreen(const std::string& clip);
    BenchScreen(const BenchScreen&) = delete;
    BenchScreen& operator=(const BenchScreen&) = delete;
    ~BenchScreen();

    QQuickWindow& window() { return window_; }
    /// How many frames the window has shown so far.
    int frames() const { return frames_; }
    /// The frame that a player shows.
    std::int64_t shownFrame(std::size_t player) const;

    static void runFor(int milliseconds);
    /// Handles events until `condition` holds; throws after half a minute.
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

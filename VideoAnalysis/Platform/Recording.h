#pragma once
// The screen recorder as the main screen uses it: one shared recorder with a microphone switch, and the preview that older
// systems show at the end.

#include "VideoAnalysis/Platform/UI/ViewController.h"
#include "VideoAnalysis/Platform/URL.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace videoanalysis::recording {

class PreviewViewController;

class PreviewViewControllerDelegate {
public:
    virtual ~PreviewViewControllerDelegate() = default;
    virtual void previewControllerDidFinish(PreviewViewController& previewController) = 0;
};

/// Where a preview is anchored when it is shown as a popover.
struct PopoverAnchor {
    Rect sourceRect;
    std::weak_ptr<ui::View> sourceView;
};

class PreviewViewController : public ui::ViewController {
public:
    std::weak_ptr<PreviewViewControllerDelegate> previewControllerDelegate;
    std::optional<PopoverAnchor> popoverPresentation;
};

/// An error as its localized description; absent when all went well.
using Error = std::optional<std::string>;

/// Calls on the main thread; handlers may be called on any thread, later.
class ScreenRecorder {
public:
    virtual ~ScreenRecorder() = default;
    virtual bool isAvailable() const = 0;
    virtual bool isRecording() const = 0;
    virtual bool isMicrophoneEnabled() const = 0;
    virtual void setMicrophoneEnabled(bool enabled) = 0;

    virtual void startRecording(std::function<void(Error)> handler) = 0;
    /// System version 14 and later: stops and leaves the finished video in the file `output`.
    virtual void stopRecording(const URL& output, std::function<void(Error)> handler) = 0;
    /// Before version 14: stops and hands over a preview controller, or an error.
    virtual void stopRecording(std::function<void(std::shared_ptr<PreviewViewController>, Error)> handler) = 0;
};

}  // namespace videoanalysis::recording

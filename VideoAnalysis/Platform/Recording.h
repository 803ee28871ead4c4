#pragma once
// The screen recording seam, used by the main screen: one shared recorder with a microphone switch, and the preview shown at
// the end by older systems.

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

/// The anchor of a preview that is shown as a popover.
struct PopoverAnchor {
    Rect sourceRect;
    std::weak_ptr<ui::View> sourceView;
};

class PreviewViewController : public ui::ViewController {
public:
    std::weak_ptr<PreviewViewControllerDelegate> previewControllerDelegate;
    std::optional<PopoverAnchor> popoverPresentation;
};

/// The localized description of an error; empty on success.
using Error = std::optional<std::string>;

/// Main thread only; handlers may be called later on any thread.
class ScreenRecorder {
public:
    virtual ~ScreenRecorder() = default;
    virtual bool isAvailable() const = 0;
    /// True from the answer to a start until a stop is requested; false while the recording is being finalized.
    virtual bool isRecording() const = 0;
    virtual bool isMicrophoneEnabled() const = 0;
    virtual void setMicrophoneEnabled(bool enabled) = 0;

    /// While a start or a stop is pending, further ones are ignored and their handlers are not called.
    virtual void startRecording(std::function<void(Error)> handler) = 0;
    /// System version 14 and later: stops and writes the finished video to the file `output`. The host owns it from then on:
    /// it is kept until the host moves it or calls `recordingTaken`.
    virtual void stopRecording(const URL& output, std::function<void(Error)> handler) = 0;
    /// Before version 14: stops and returns a preview controller or an error.
    virtual void stopRecording(std::function<void(std::shared_ptr<PreviewViewController>, Error)> handler) = 0;

    /// The directory for finished recordings, absolute, without a trailing slash. It is persistent, so that a recording that
    /// is not taken still exists at the next start. If empty, recordings go to the platform's temporary directory.
    virtual std::string outputDirectory() const { return {}; }
    /// Removes the finished recording in the file `recording`, if it still exists, because the host no longer needs it.
    /// Ignores files that are not finished recordings of this recorder.
    virtual void recordingTaken(const URL& /*recording*/) {}

    /// `handler` (empty for none; replaces the previous one) is called later on the main thread if a running recording fails,
    /// for example because the disk is full. `reason` is one line. The recorder is still recording; a stop delivers the part
    /// recorded so far.
    // NOLINTNEXTLINE(performance-unnecessary-value-param): implementations keep it.
    virtual void setBreakOffHandler(std::function<void(const std::string& reason)> /*handler*/) {}
};

}  // namespace videoanalysis::recording

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
    /// From the answer to a start until a stop is asked for; false while the recording is being finalized.
    virtual bool isRecording() const = 0;
    virtual bool isMicrophoneEnabled() const = 0;
    virtual void setMicrophoneEnabled(bool enabled) = 0;

    /// While a start or a stop is pending, further ones are ignored and their handlers are not called.
    virtual void startRecording(std::function<void(Error)> handler) = 0;
    /// System version 14 and later: stops and leaves the finished video in the file `output`. It belongs to the host from
    /// then on and stays there until the host moves it away or `recordingTaken` is called.
    virtual void stopRecording(const URL& output, std::function<void(Error)> handler) = 0;
    /// Before version 14: stops and hands over a preview controller, or an error.
    virtual void stopRecording(std::function<void(std::shared_ptr<PreviewViewController>, Error)> handler) = 0;

    /// The directory that finished recordings go to, absolute, without a trailing slash: one whose contents survive the
    /// program, so that a recording that is not taken is still there at the next start. Empty for a recorder without one:
    /// recordings then go to the platform's temporary directory.
    virtual std::string outputDirectory() const { return {}; }
    /// The host needs the finished recording in the file `recording` no longer: removes it if it is still there. Ignores files
    /// that are no finished recording of this recorder.
    virtual void recordingTaken(const URL& /*recording*/) {}

    /// `handler` (empty for none; replaces the one before) is called on the main thread, later, when a running recording
    /// breaks off by itself: the disk is full, the encoder fails. `reason` is one line. The recorder still counts as
    /// recording; a stop, as usual, leaves what was recorded until then.
    // NOLINTNEXTLINE(performance-unnecessary-value-param): implementations keep it.
    virtual void setBreakOffHandler(std::function<void(const std::string& reason)> /*handler*/) {}
};

}  // namespace videoanalysis::recording

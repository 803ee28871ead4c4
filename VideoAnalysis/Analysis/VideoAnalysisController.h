#pragma once
// The component's public interface. A host creates a controller from its clips and a configuration, presents it over one of
// its screens and receives callbacks through its delegate. All state is in `mainStore`, so there is one analysis at a time,
// and every operation applies to the analysis created last.

#include "VideoAnalysis/Analysis/VideoAnalysisConfiguration.h"
#include "VideoAnalysis/JSON/JSON.h"
#include "VideoAnalysis/Platform/UI/Device.h"
#include "VideoAnalysis/Platform/UI/ViewController.h"
#include "VideoAnalysis/Platform/URL.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace videoanalysis {

/// Main thread only. May be released after `present`.
class VideoAnalysisController {
public:
    /// One clip.
    struct Object {
        URL url;
        /// The clip's stored drawings; opaque to a host.
        std::optional<JSON> stack;

        friend bool operator==(const Object&, const Object&) = default;
    };

    /// Creates one player per item, in order, and discards an earlier analysis: a screen still presented is dismissed without
    /// animation, its recording stopped and delivered to the delegate of that analysis.
    explicit VideoAnalysisController(const std::vector<Object>& media,
                                     const std::optional<VideoAnalysisConfiguration>& configuration = {});

    /// Presents the analysis screen over `viewController`. Ignored and logged while it is already presented or
    /// `viewController` presents another screen.
    void present(const std::shared_ptr<ui::ViewController>& viewController,
                 ui::ModalPresentationStyle presentationStyle);
    /// Dismisses the screen and ends the analysis; `completion` (may be empty) runs after the screen has disappeared.
    void dismiss(bool animated, std::function<void()> completion);

    /// Whether the analysis screen is presented: from `present` until it is dismissed by `dismiss`, its close button or a
    /// press outside a popover. The latter keeps the clips, and `present` shows them again.
    bool isOpen() const;

    /// The count of clips: 0 to 2, or more if it was created with more.
    std::int64_t mediaCount() const;
    /// Appends a clip. False, without effect, if there are already two or more clips.
    bool addMedia(const Object& media);
    /// Replaces the clip at `index` and its drawings, or appends it if `index` is `mediaCount()`. False, without effect, if
    /// `index` is out of range or the max count is reached.
    bool replaceMedia(std::int64_t index, const Object& media);
    /// Removes the clip at `index` and its drawings; later clips move up. False if there is no such clip.
    bool removeMedia(std::int64_t index);

    /// Opens the trim screen for the clip at `index` over the analysis. No effect without such a clip or a presented screen.
    void editMedia(std::int64_t index);

    /// Whether recording is currently requested, by the user or the host.
    bool isRecording() const;
    /// Stops a recording like the button does; it is delivered by `videoAnalysisDidFinish`. No effect if none is running.
    void stopRecording();

    /// The clips with their current drawings, for a host that saves without recording.
    std::vector<Object> currentMedia() const;

    /// Removes the file of a recording from `videoAnalysisDidFinish` that the host has copied or wants to discard. Not needed
    /// for a recording that the host has moved. May be called when no analysis is open.
    static void recordingTaken(const URL& recording);
};

/// The location, for logs.
std::string describeValue(const VideoAnalysisController::Object& media);

/// Implemented by the host. Main thread only. An implementation may run a nested event loop, for example in a modal dialog;
/// the analysis continues.
/// A completion may be called during the call, later on the main thread, or never. It takes effect once, and only while the
/// clip or analysis that it refers to exists; any other call is ignored and logged.
class VideoAnalysisControllerDelegate {
public:
    using Object = VideoAnalysisController::Object;

    virtual ~VideoAnalysisControllerDelegate() = default;
    /// The preferred orientation when the screen appears.
    virtual ui::DeviceOrientation preferredOrientation() const = 0;
    /// The analysis has finished. `media` is the recording followed by each clip with its drawings; empty after a preview.
    /// The host owns the recording's file: move it, or copy it and call `recordingTaken`. The file is kept even after the
    /// program exits; the platform documents how to find it at the next start.
    virtual void videoAnalysisDidFinish(const std::optional<std::vector<Object>>& output) = 0;
    /// A running recording failed for `reason` (one line, such as a full disk or a failed encoder) and has been stopped. If
    /// the recorded part is playable, it is delivered by `videoAnalysisDidFinish`.
    virtual void videoAnalysisRecordingDidBreakOff(const std::string& /*reason*/) {}
    /// The user wants to delete a clip. Call `completion` to delete it.
    virtual void
    videoAnalysisControllerDidRequestToDeleteMedia(const std::shared_ptr<ui::ViewController>& viewController,
                                                   std::function<void()> completion) = 0;
    /// The user wants to close the analysis. Call `completion` to close it.
    virtual void
    videoAnalysisControllerDidRequestDiscardAndClose(const std::shared_ptr<ui::ViewController>& viewController,
                                                     std::function<void()> completion) = 0;
    /// The user wants to choose a clip. Call `completion` with it. `index` is the player whose clip it replaces, or the count
    /// of clips to append one.
    virtual void videoAnalysisControllerDidRequestMedia(const std::shared_ptr<ui::ViewController>& viewController,
                                                        std::int64_t index, std::function<void(Object)> completion) = 0;
};

}  // namespace videoanalysis

#pragma once
// The public face of the component: a host makes one from its clips and a configuration, presents it over a screen of its own
// and hears back through its delegate. It holds no state; everything goes into `mainStore`, so one analysis runs at a time.

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

/// Main thread. May be released after `present`.
class VideoAnalysisController {
public:
    /// One clip.
    struct Object {
        URL url;
        /// The drawings that belong to the clip, as they were stored; opaque to a host.
        std::optional<JSON> stack;

        friend bool operator==(const Object&, const Object&) = default;
    };

    /// Discards what an earlier analysis left and makes one player for each item, in order.
    explicit VideoAnalysisController(const std::vector<Object>& media,
                                     const std::optional<VideoAnalysisConfiguration>& configuration = {});

    /// Shows the analysis screen over `viewController`.
    void present(const std::shared_ptr<ui::ViewController>& viewController,
                 ui::ModalPresentationStyle presentationStyle);
    /// Removes the screen and ends the analysis; `completion` (may be empty) runs when the screen is gone.
    void dismiss(bool animated, std::function<void()> completion);

    /// Opens the trim screen for the clip at `index` over the analysis; nothing when there is no such clip, or no screen yet.
    void editMedia(std::int64_t index);

    /// The clips as they stand now, drawings included, for a host that saves without recording.
    std::vector<Object> currentMedia() const;

    /// Tells the recorder that the host needs a recording it was given through `videoAnalysisDidFinish` no longer, because it
    /// has copied it or wants to discard it: its file is removed. Not needed for a recording that the host has moved. Needs
    /// no analysis to be open.
    static void recordingTaken(const URL& recording);
};

/// For messages to developers: the location.
std::string describeValue(const VideoAnalysisController::Object& media);

/// Implemented by the host. All calls on the main thread; completions may be called later, or never.
class VideoAnalysisControllerDelegate {
public:
    using Object = VideoAnalysisController::Object;

    virtual ~VideoAnalysisControllerDelegate() = default;
    /// How the screen should be held when it appears.
    virtual ui::DeviceOrientation preferredOrientation() const = 0;
    /// The analysis has finished: the recording first, then each clip with its drawings; absent after a preview. The
    /// recording's file belongs to the host from now on: move it, or copy it and call `recordingTaken`. Until then it stays
    /// where it is, also when the program ends; the platform's ring says how to find it at the next start.
    virtual void videoAnalysisDidFinish(const std::optional<std::vector<Object>>& output) = 0;
    /// A running recording broke off by itself for `reason`, one line: the disk is full, the encoder failed. It is stopped
    /// now; what was recorded until then comes through `videoAnalysisDidFinish`, if it can be played.
    virtual void videoAnalysisRecordingDidBreakOff(const std::string& /*reason*/) {}
    /// The user wants to delete a clip; calling `completion` deletes it.
    virtual void
    videoAnalysisControllerDidRequestToDeleteMedia(const std::shared_ptr<ui::ViewController>& viewController,
                                                   std::function<void()> completion) = 0;
    /// The user wants to close; calling `completion` closes.
    virtual void
    videoAnalysisControllerDidRequestDiscardAndClose(const std::shared_ptr<ui::ViewController>& viewController,
                                                     std::function<void()> completion) = 0;
    /// The user wants a clip for the player at `index`; calling `completion` hands it over.
    virtual void videoAnalysisControllerDidRequestMedia(const std::shared_ptr<ui::ViewController>& viewController,
                                                        std::int64_t index, std::function<void(Object)> completion) = 0;
};

}  // namespace videoanalysis

#pragma once
// The public face of the component: a host makes one from its clips and a configuration, presents it over a screen of its own
// and hears back through its delegate. It holds no state; everything goes into `mainStore`, so one analysis runs at a time, and
// each operation below is about the analysis that was made last.

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

    /// Makes one player for each item, in order, and discards what an earlier analysis left: a screen that is still there is
    /// dismissed at once, without animation, and its recording stopped and delivered to the delegate of that analysis.
    explicit VideoAnalysisController(const std::vector<Object>& media,
                                     const std::optional<VideoAnalysisConfiguration>& configuration = {});

    /// Shows the analysis screen over `viewController`. Ignored, with a line in the debug log, while it is shown already or
    /// `viewController` presents another screen.
    void present(const std::shared_ptr<ui::ViewController>& viewController,
                 ui::ModalPresentationStyle presentationStyle);
    /// Removes the screen and ends the analysis; `completion` (may be empty) runs when the screen is gone.
    void dismiss(bool animated, std::function<void()> completion);

    /// Whether the screen of the analysis is presented: from `present` until it is dismissed, be it by `dismiss`, by its close
    /// button or by a press beside a popover. After the last the clips are still there, and `present` shows them again.
    bool isOpen() const;

    /// How many clips there are: 0 to 2, or as many as it was made with.
    std::int64_t mediaCount() const;
    /// Appends a clip. False, and nothing happens, when there are two clips or more already.
    bool addMedia(const Object& media);
    /// Puts a clip in the place of the one at `index`, whose drawings go with it; `index` equal to `mediaCount()` adds it.
    /// False, and nothing happens, when `index` is none of these or there is no room for one more.
    bool replaceMedia(std::int64_t index, const Object& media);
    /// Removes the clip at `index` with its drawings; those behind it move up. False when there is no such clip.
    bool removeMedia(std::int64_t index);

    /// Opens the trim screen for the clip at `index` over the analysis; nothing when there is no such clip, or no screen yet.
    void editMedia(std::int64_t index);

    /// Whether the user, or the host, wants the screen recorded now.
    bool isRecording() const;
    /// Ends a recording as the button does; it is delivered by `videoAnalysisDidFinish`. Nothing when none is running.
    void stopRecording();

    /// The clips as they stand now, drawings included, for a host that saves without recording.
    std::vector<Object> currentMedia() const;

    /// Tells the recorder that the host needs a recording it was given through `videoAnalysisDidFinish` no longer, because it
    /// has copied it or wants to discard it: its file is removed. Not needed for a recording that the host has moved. Needs
    /// no analysis to be open.
    static void recordingTaken(const URL& recording);
};

/// For messages to developers: the location.
std::string describeValue(const VideoAnalysisController::Object& media);

/// Implemented by the host. All calls on the main thread, where a host may run an event loop of its own in them, such as a
/// modal dialog's: the analysis goes on.
/// A completion may be called during the call or later, on the main thread, or never. It acts once, and only while the clip or
/// the analysis that it was asked for is still there; every other call of it is ignored with a line in the debug log.
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
    /// The user wants a clip; calling `completion` hands it over. `index` is the player whose clip it replaces, or, when it
    /// equals the number of clips, the place of one to add.
    virtual void videoAnalysisControllerDidRequestMedia(const std::shared_ptr<ui::ViewController>& viewController,
                                                        std::int64_t index, std::function<void(Object)> completion) = 0;
};

}  // namespace videoanalysis

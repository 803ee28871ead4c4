#pragma once
// Callbacks from the trim screen to its presenter, which is a player's controller.

#include <string>

namespace videoanalysis {

namespace ui {
class ViewController;
}

/// What becomes of an edit. Each is called once, on the main thread, and dismisses the editor.
class VideoEditorControllerDelegate {
public:
    virtual ~VideoEditorControllerDelegate() = default;
    virtual void videoEditorControllerDidSaveEditedVideoToPath(ui::ViewController& editor, const std::string& path) = 0;
    virtual void videoEditorControllerDidCancel(ui::ViewController& editor) = 0;
    virtual void videoEditorControllerDidFailWithError(ui::ViewController& editor, const std::string& error) = 0;
};

}  // namespace videoanalysis

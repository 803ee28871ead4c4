#pragma once
// Creates the component's controllers by their names in a storyboard. Called by a platform when it loads a scene.

#include <memory>
#include <string_view>

namespace videoanalysis {

namespace ui {
class ViewController;
}

/// A new controller without views; null for an unknown name. Main thread only.
std::shared_ptr<ui::ViewController> makeViewController(std::string_view name);

}  // namespace videoanalysis

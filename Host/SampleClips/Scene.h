#pragma once

// A moving picture to make a clip of. The clip maker asks for one frame after the other.

#include <cairo.h>
#include <memory>
#include <string_view>

namespace videoanalysis::samples {

class Scene {
public:
    /// Scenes draw on a canvas of this size; the clip maker scales it over the whole frame.
    static constexpr double width = 1280;
    static constexpr double height = 720;

    virtual ~Scene() = default;

    /// Draws the whole picture as it is `time` seconds after the start, in canvas coordinates, origin at the top left.
    virtual void draw(cairo_t* cairo, double time) const = 0;

    /// The scene of that name ("runner", "tennis", "plain"), or null.
    static std::unique_ptr<Scene> named(std::string_view name);
};

}  // namespace videoanalysis::samples

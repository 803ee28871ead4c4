#pragma once

// An animated scene for a clip. The clip maker draws it frame by frame.

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

    /// Draws the whole frame at `time` seconds in canvas coordinates, origin at the top left.
    virtual void draw(cairo_t* cairo, double time) const = 0;

    /// The scene with this name ("runner", "tennis", "plain"); null if there is none.
    static std::unique_ptr<Scene> named(std::string_view name);
};

}  // namespace videoanalysis::samples

#pragma once
// A graphics context that records the calls it receives.

#include "VideoAnalysis/Platform/Graphics.h"

#include <cstdio>
#include <string>
#include <vector>

namespace videoanalysis {

class RecordingContext final : public graphics::Context {
public:
    std::vector<std::string> commands;

    void saveState() override { add("save"); }
    void restoreState() override { add("restore"); }
    void setStrokeColor(const Color& color) override {
        add("stroke color", {color.red, color.green, color.blue, color.alpha});
    }
    void setFillColor(const Color& color) override {
        add("fill color", {color.red, color.green, color.blue, color.alpha});
    }
    void setLineWidth(double width) override { add("width", {width}); }
    void setLineCap(graphics::LineCap cap) override { add("cap", {static_cast<double>(cap)}); }
    void setAlpha(double alpha) override { add("alpha", {alpha}); }
    void setBlendMode(graphics::BlendMode mode) override { add("blend", {static_cast<double>(mode)}); }
    void setShouldAntialias(bool antialias) override { add(antialias ? "antialias" : "no antialias"); }
    void setShadow(Size offset, double blur, const Color& color) override {
        add("shadow", {offset.width, offset.height, blur, color.red, color.green, color.blue, color.alpha});
    }
    void move(Point to) override { add("move", {to.x, to.y}); }
    void addLine(Point to) override { add("line", {to.x, to.y}); }
    void addPath(const graphics::Path& path) override { add("path", {static_cast<double>(path.elements().size())}); }
    void strokePath() override { add("stroke"); }
    void fillRect(const Rect& rect) override { addRect("fill rect", rect); }
    void strokeRect(const Rect& rect) override { addRect("stroke rect", rect); }
    void fillEllipse(const Rect& rect) override { addRect("fill ellipse", rect); }
    void strokeEllipse(const Rect& rect) override { addRect("stroke ellipse", rect); }
    void clearRect(const Rect& rect) override { addRect("clear", rect); }
    void clipToRect(const Rect& rect) override { addRect("clip", rect); }
    void drawImage(const Image&, const Rect& rect) override { addRect("image", rect); }
    void flush() override { add("flush"); }

private:
    void add(std::string command, const std::vector<double>& numbers = {}) {
        char text[32];
        for (const double number : numbers) {
            std::snprintf(text, sizeof text, " %.4g", number);
            command += text;
        }
        commands.push_back(std::move(command));
    }
    void addRect(const char* command, const Rect& rect) {
        add(command, {rect.origin.x, rect.origin.y, rect.size.width, rect.size.height});
    }
};

}  // namespace videoanalysis

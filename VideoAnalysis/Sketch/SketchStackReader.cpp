#include "VideoAnalysis/Sketch/SketchStackReader.h"

#include "VideoAnalysis/Platform/Platform.h"
#include "VideoAnalysis/Sketch/EllipseTool.h"
#include "VideoAnalysis/Sketch/PenTool.h"
#include "VideoAnalysis/Sketch/RectTool.h"
#include "VideoAnalysis/Sketch/TwoPointTool.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace videoanalysis {
namespace {

constexpr std::size_t maxNotes = 100;

std::optional<double> numberIn(const JSON& value, StoredRange range) {
    const std::optional<double> number = value.number();
    return number && *number >= range.low && *number <= range.high ? number : std::nullopt;
}

bool isHexadecimalDigit(char c) { return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f'); }

}  // namespace

std::optional<SketchToolType> SketchStackReader::toolType(std::string_view word) {
    std::string lower(word.substr(0, 16));
    std::transform(lower.begin(), lower.end(), lower.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? c + 32 : c; });
    if (word.size() > lower.size()) return std::nullopt;
    if (lower == "pen") return SketchToolType::pen;
    if (lower == "line") return SketchToolType::line;
    if (lower == "arrow") return SketchToolType::arrow;
    if (lower == "rectangle") return SketchToolType::rectangleStroke;
    if (lower == "oval" || lower == "ellipse") return SketchToolType::ellipseStroke;
    return std::nullopt;
}

void SketchStackReader::readNumber(const JSON& object, std::string_view key, StoredRange range, double& value) {
    if (const std::optional<double> number = numberIn(object[key], range))
        value = *number;
    else
        noteUnreadable(object[key], key);
}

void SketchStackReader::readColor(const JSON& object, std::string_view key, Color& value) {
    const std::string* text = object[key].string();
    // Digits only: the conversion would also accept a sign.
    if (!text || text->size() != 7 || text->front() != '#' ||
        !std::all_of(text->begin() + 1, text->end(), isHexadecimalDigit)) {
        noteUnreadable(object[key], key);
        return;
    }
    int color = 0;
    std::from_chars(text->data() + 1, text->data() + text->size(), color, 16);
    value = Color::rgb255(color >> 16, color >> 8 & 0xFF, color & 0xFF);
}

int SketchStackReader::readInteger(const JSON& object, std::string_view key, int last, int value) {
    const std::optional<double> number = numberIn(object[key], {0, static_cast<double>(last)});
    if (number && *number == static_cast<int>(*number)) return static_cast<int>(*number);
    noteUnreadable(object[key], key);
    return value;
}

std::optional<Point> SketchStackReader::readPoint(const JSON& object, std::string_view x, std::string_view y) const {
    const JSON::Dictionary* members = object.dictionary();
    if (!members) return std::nullopt;
    std::optional<double> percentX;
    std::optional<double> percentY;
    // One pass over the two or four members, because this runs for every point of a stack.
    for (const JSON::Member& member : *members) {
        if (member.key == x) percentX = numberIn(member.value, StoredRange::coordinates);
        if (member.key == y) percentY = numberIn(member.value, StoredRange::coordinates);
    }
    if (!percentX || !percentY) return std::nullopt;
    return Point{*percentX / 100 * size_.width, *percentY / 100 * size_.height};
}

std::vector<std::shared_ptr<SketchTool>>
SketchStackReader::readDrawings(const JSON& stack, std::string_view key,
                                const std::function<std::shared_ptr<SketchTool>(SketchToolType)>& makeTool) {
    std::vector<std::shared_ptr<SketchTool>> tools;
    const JSON::Array* drawings = stack[key].array();
    if (!drawings) {
        noteUnreadable(stack[key], key);
        return tools;
    }
    tools.reserve(drawings->size());
    for (std::size_t i = 0; i < drawings->size(); ++i) {
        const JSON& drawing = (*drawings)[i];
        const Place place(*this, std::string(key) + "[" + std::to_string(i) + "]");
        const JSON& configuration = drawing["configuration"];
        if (!drawing.dictionary()) {
            noteUnreadable(drawing, {});
            continue;
        }
        if (!configuration.dictionary()) {
            noteUnreadable(configuration, "configuration");
            continue;
        }
        const std::string* word = drawing["type"].string();
        const std::optional<SketchToolType> named = word ? toolType(*word) : std::nullopt;
        if (!named) {
            noteUnreadable(drawing["type"], "type");
            continue;
        }
        const bool isEraser = *named == SketchToolType::pen && configuration["ios"]["eraser"].boolean() == true;
        const std::shared_ptr<SketchTool> tool = makeTool(isEraser ? SketchToolType::eraser : *named);
        const Place inside(*this, "configuration");
        readConfiguration(configuration, *tool);
        tools.push_back(tool);
    }
    return tools;
}

void SketchStackReader::readConfiguration(const JSON& configuration, SketchTool& tool) {
    double width = tool.lineWidth();
    readNumber(configuration, "width", StoredRange::widths, width);
    tool.setLineWidth(width);
    Color color = tool.lineColor();
    readColor(configuration, "color", color);
    tool.setLineColor(color);
    double alpha = tool.lineAlpha();
    readNumber(configuration, "alpha", StoredRange::alphas, alpha);
    tool.setLineAlpha(alpha);
    // A drawing without a readable time is hidden: its time is one that no clip reaches.
    double time = std::numeric_limits<double>::quiet_NaN();
    readNumber(configuration, "time", StoredRange::times, time);
    tool.setTime(time);
    if (const std::string* id = configuration["id"].string())
        tool.setId(*id);
    else
        noteUnreadable(configuration["id"], "id");

    const auto readFill = [&](auto& shape) {
        if (const std::optional<bool> isFill = configuration["isFill"].boolean())
            shape.setFill(*isFill);
        else
            noteUnreadable(configuration["isFill"], "isFill");
    };
    if (auto* pen = dynamic_cast<PenTool*>(&tool)) {
        PenType type = PenType::normal;
        readSystemMembers(configuration,
                          [&](const JSON& system) { readEnumeration(system, "penType", PenType::neon, type); });
        pen->setDrawingPenType(type);
    } else if (auto* ellipse = dynamic_cast<EllipseTool*>(&tool)) {
        readFill(*ellipse);
        double eraserWidth = 0;
        readSystemMembers(configuration, [&](const JSON& system) {
            readNumber(system, "eraserWidth", StoredRange::widths, eraserWidth);
        });
        ellipse->setEraserWidth(eraserWidth);
    } else if (auto* rectangle = dynamic_cast<RectTool*>(&tool)) {
        readFill(*rectangle);
    }

    // Points are optional in the stored form.
    if (const JSON& points = configuration["points"]; points.error() != JSONError::Kind::notExist)
        readPoints(points, tool);
}

void SketchStackReader::readPoints(const JSON& points, SketchTool& tool) {
    const JSON::Array* elements = points.array();
    if (!elements) {
        noteUnreadable(points, "points");
        return;
    }
    if (auto* pen = dynamic_cast<PenTool*>(&tool)) {
        std::vector<Point> touches;
        touches.reserve(elements->size());
        bool areCoordinatesOnly = true;
        for (const JSON& element : *elements) {
            if (const std::optional<Point> touch = readPoint(element, "x", "y")) touches.push_back(*touch);
            areCoordinatesOnly = areCoordinatesOnly && element.size() == 2;
        }
        pen->setTouchPoints(touches);
        if (const std::size_t lost = elements->size() - touches.size(); lost > 0)
            note("points", std::to_string(lost) + " of " + std::to_string(elements->size()) + " cannot be read");
        else if (areCoordinatesOnly)  // other members might not be serializable
            pen->setStoredPoints(points, size_);
    } else if (auto* shape = dynamic_cast<TwoPointTool*>(&tool)) {
        const std::optional<Point> start = readPoint(points[0], "startX", "startY");
        const std::optional<Point> end = readPoint(points[0], "endX", "endY");
        if (!start || !end) {
            note("points", "start and end cannot be read");
            return;
        }
        shape->setFirstPoint(*start);
        shape->setLastPoint(*end);
    }
}

void SketchStackReader::note(std::string_view key, std::string_view problem) {
    if (++noteCount_ > maxNotes) return;
    std::string line = place_;
    if (!line.empty() && !key.empty()) line += '.';
    line.append(key).append(": ").append(problem);
    notes_.push_back(std::move(line));
}

void SketchStackReader::noteUnreadable(const JSON& value, std::string_view key) {
    note(key, value.error() == JSONError::Kind::notExist ? "is missing" : "cannot be read");
}

void SketchStackReader::log() const {
    for (const std::string& note : notes_) debugLog("Stored drawings: " + note);
    if (noteCount_ > notes_.size())
        debugLog("Stored drawings: " + std::to_string(noteCount_ - notes_.size()) + " more places");
}

}  // namespace videoanalysis

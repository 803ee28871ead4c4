#pragma once
// The drawing tools by name, for QML: the tag of a tool's button is "Tool.Pen", never a number.

#include "VideoAnalysis/Views.h"

#include <QObject>

namespace videoanalysis::qt::tool_names {
Q_NAMESPACE

enum class Tool {
    Pen = static_cast<int>(SketchToolType::pen),
    Eraser = static_cast<int>(SketchToolType::eraser),
    Line = static_cast<int>(SketchToolType::line),
    Arrow = static_cast<int>(SketchToolType::arrow),
    RectangleStroke = static_cast<int>(SketchToolType::rectangleStroke),
    RectangleFill = static_cast<int>(SketchToolType::rectangleFill),
    EllipseStroke = static_cast<int>(SketchToolType::ellipseStroke),
    EllipseFill = static_cast<int>(SketchToolType::ellipseFill),
};
Q_ENUM_NS(Tool)

}  // namespace videoanalysis::qt::tool_names

#include "Platforms/QtQuick/ColorPickerItem.h"

#include <QCoreApplication>
#include <QRectF>
#include <QVariantMap>

#include <algorithm>
#include <array>
#include <memory>

namespace videoanalysis::qt {
namespace {

/// Where each hue ends, in degrees.
struct Hue {
    int end;
    const char* light;
    const char* plain;
    const char* deep;
};

constexpr std::array hues = {
    Hue{12, QT_TRANSLATE_NOOP("ColorPicker", "Light red"), QT_TRANSLATE_NOOP("ColorPicker", "Red"),
        QT_TRANSLATE_NOOP("ColorPicker", "Dark red")},
    Hue{40, QT_TRANSLATE_NOOP("ColorPicker", "Light orange"), QT_TRANSLATE_NOOP("ColorPicker", "Orange"),
        QT_TRANSLATE_NOOP("ColorPicker", "Brown")},
    Hue{66, QT_TRANSLATE_NOOP("ColorPicker", "Light yellow"), QT_TRANSLATE_NOOP("ColorPicker", "Yellow"),
        QT_TRANSLATE_NOOP("ColorPicker", "Olive")},
    Hue{166, QT_TRANSLATE_NOOP("ColorPicker", "Light green"), QT_TRANSLATE_NOOP("ColorPicker", "Green"),
        QT_TRANSLATE_NOOP("ColorPicker", "Dark green")},
    Hue{192, QT_TRANSLATE_NOOP("ColorPicker", "Light cyan"), QT_TRANSLATE_NOOP("ColorPicker", "Cyan"),
        QT_TRANSLATE_NOOP("ColorPicker", "Dark cyan")},
    Hue{210, QT_TRANSLATE_NOOP("ColorPicker", "Light sky blue"), QT_TRANSLATE_NOOP("ColorPicker", "Sky blue"),
        QT_TRANSLATE_NOOP("ColorPicker", "Dark sky blue")},
    Hue{255, QT_TRANSLATE_NOOP("ColorPicker", "Light blue"), QT_TRANSLATE_NOOP("ColorPicker", "Blue"),
        QT_TRANSLATE_NOOP("ColorPicker", "Dark blue")},
    Hue{295, QT_TRANSLATE_NOOP("ColorPicker", "Light purple"), QT_TRANSLATE_NOOP("ColorPicker", "Purple"),
        QT_TRANSLATE_NOOP("ColorPicker", "Dark purple")},
    Hue{340, QT_TRANSLATE_NOOP("ColorPicker", "Light pink"), QT_TRANSLATE_NOOP("ColorPicker", "Pink"),
        QT_TRANSLATE_NOOP("ColorPicker", "Dark pink")},
};

}  // namespace

ColorPickerItem::ColorPickerItem(QQuickItem* parent) : ViewItem(std::make_shared<ColorPickerView>(), parent) {}

QVariantList ColorPickerItem::swatches() const {
    QVariantList swatches;
    if (!picker()) return swatches;
    const auto& colors = picker()->colors();
    for (std::size_t i = 0; i < colors.size(); ++i) {
        const auto index = static_cast<std::int64_t>(i);
        const Rect& frame = picker()->frameOfItem(index);
        const QColor color = toQColor(colors[i]);
        swatches.append(QVariantMap{
            {QStringLiteral("color"), color},
            {QStringLiteral("name"), nameOf(color)},
            {QStringLiteral("frame"), QRectF(frame.origin.x, frame.origin.y, frame.size.width, frame.size.height)},
            {QStringLiteral("checked"), picker()->isChecked(index)},
            {QStringLiteral("markColor"), toQColor(ColorPickerView::markColor(colors[i]))},
        });
    }
    return swatches;
}

bool ColorPickerItem::areCircles() const {
    return picker() && picker()->swatchShape() == ColorPickerViewSwatchShape::circle;
}

void ColorPickerItem::setCircles(bool circles) {
    picker()->setSwatchShape(circles ? ColorPickerViewSwatchShape::circle : ColorPickerViewSwatchShape::square);
}

int ColorPickerItem::selectedIndex() const {
    return picker() ? static_cast<int>(picker()->selectedIndex().value_or(-1)) : -1;
}

void ColorPickerItem::setContentY(double y) {
    if (picker()) picker()->setContentOffset({0, y});
}

void ColorPickerItem::select(int index) {
    if (picker()) picker()->selectItem(index);
}

int ColorPickerItem::neighbor(int index, int stepX, int stepY) const {
    return picker() ? static_cast<int>(picker()->neighborOf(index, stepX, stepY)) : index;
}

QString ColorPickerItem::nameOf(const QColor& color) {
    const int lightness = color.lightness();
    if (color.saturation() < 26) {
        if (lightness > 245) return QStringLiteral(QT_TRANSLATE_NOOP("ColorPicker", "White"));
        if (lightness > 150) return QStringLiteral(QT_TRANSLATE_NOOP("ColorPicker", "Light gray"));
        if (lightness > 20) return QStringLiteral(QT_TRANSLATE_NOOP("ColorPicker", "Dark gray"));
        return QStringLiteral(QT_TRANSLATE_NOOP("ColorPicker", "Black"));
    }
    const auto found = std::find_if(hues.begin(), hues.end(), [&](const Hue& hue) { return color.hue() < hue.end; });
    const Hue& hue = found == hues.end() ? hues.front() : *found;
    return QLatin1String(lightness > 165 ? hue.light : lightness < 100 ? hue.deep : hue.plain);
}

void ColorPickerItem::viewDidChange(ui::View& view, ui::Property property) {
    switch (property) {
        case ui::Property::other: Q_EMIT swatchesChanged(); break;
        case ui::Property::contentSize: Q_EMIT contentHeightChanged(); break;
        case ui::Property::contentOffset: Q_EMIT contentYChanged(); break;
        default: ViewItem::viewDidChange(view, property);
    }
}

}  // namespace videoanalysis::qt

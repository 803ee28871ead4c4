#pragma once
// The item of a colour picker: it tells QML what each swatch shows and where it is, and the picker what the user picks
// and how far the palette is scrolled. `Resources/Controls/ColorPicker.qml` gives it its look.

#include "Platforms/QtQuick/ViewItem.h"
#include "VideoAnalysis/Views.h"

#include <QVariantList>

namespace videoanalysis::qt {

/// "ColorPickerView" in QML. Main thread.
class ColorPickerItem : public ViewItem {
    Q_OBJECT
    /// For each colour: `color`, `name` (to be translated), `frame` in content points, `checked`, `markColor`.
    Q_PROPERTY(QVariantList swatches READ swatches NOTIFY swatchesChanged)
    Q_PROPERTY(bool circles READ areCircles WRITE setCircles NOTIFY swatchesChanged)
    /// The place of the swatch that is preselected or was picked last; -1 for none.
    Q_PROPERTY(int selectedIndex READ selectedIndex NOTIFY swatchesChanged)
    /// In points.
    Q_PROPERTY(double contentHeight READ contentHeight NOTIFY contentHeightChanged)
    Q_PROPERTY(double contentY READ contentY WRITE setContentY NOTIFY contentYChanged)

public:
    explicit ColorPickerItem(QQuickItem* parent = nullptr);

    QVariantList swatches() const;
    bool areCircles() const;
    void setCircles(bool circles);
    int selectedIndex() const;
    double contentHeight() const { return picker() ? picker()->contentSize().height : 0; }
    double contentY() const { return picker() ? picker()->contentOffset().y : 0; }
    void setContentY(double y);

    /// The user has picked the swatch.
    Q_INVOKABLE void select(int index);
    /// As `ColorPickerView::neighborOf`.
    Q_INVOKABLE int neighbor(int index, int stepX, int stepY) const;
    /// What a colour is called, such as "Light green"; texts of the translation context "ColorPicker".
    static QString nameOf(const QColor& color);

    void viewDidChange(ui::View& view, ui::Property property) override;

Q_SIGNALS:
    void swatchesChanged();
    void contentHeightChanged();
    void contentYChanged();

private:
    ColorPickerView* picker() const { return static_cast<ColorPickerView*>(view()); }
};

}  // namespace videoanalysis::qt

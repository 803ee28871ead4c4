#pragma once
// The item of a label: it hands the text to a QML `Text`.

#include "Platforms/QtQuick/ViewItem.h"
#include "VideoAnalysis/Platform/UI/Control.h"

namespace videoanalysis::qt {

/// "Label" in QML. Main thread.
class LabelItem : public ViewItem {
    Q_OBJECT
    Q_PROPERTY(QString text READ text NOTIFY textChanged)

public:
    explicit LabelItem(QQuickItem* parent = nullptr) : ViewItem(std::make_shared<ui::Label>(), parent) {}

    QString text() const {
        const auto* label = static_cast<const ui::Label*>(view());
        return label ? QString::fromStdString(label->text()) : QString();
    }

    void viewDidChange(ui::View& view, ui::Property property) override {
        if (property == ui::Property::text) {
            Q_EMIT textChanged();
        } else {
            ViewItem::viewDidChange(view, property);
        }
    }

Q_SIGNALS:
    void textChanged();
};

}  // namespace videoanalysis::qt

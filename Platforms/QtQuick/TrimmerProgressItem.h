#pragma once
// The item of the trim screen's progress: it hands the numbers to a QML bar and its text.

#include "Platforms/QtQuick/ViewItem.h"
#include "VideoAnalysis/Views.h"

namespace videoanalysis::qt {

/// "SaveProgress" in QML. Main thread.
class TrimmerProgressItem : public ViewItem {
    Q_OBJECT
    /// 0...1.
    Q_PROPERTY(double progress READ progress NOTIFY changed)
    /// -1 while it is unknown.
    Q_PROPERTY(double secondsLeft READ secondsLeft NOTIFY changed)

public:
    explicit TrimmerProgressItem(QQuickItem* parent = nullptr)
        : ViewItem(std::make_shared<SaveProgressView>(), parent) {}

    double progress() const { return shown() ? shown()->progress() : 0; }
    double secondsLeft() const { return shown() ? shown()->secondsLeft().value_or(-1) : -1; }

    void viewDidChange(ui::View& view, ui::Property property) override {
        if (property == ui::Property::value) {
            Q_EMIT changed();
        } else {
            ViewItem::viewDidChange(view, property);
        }
    }

Q_SIGNALS:
    void changed();

private:
    const SaveProgressView* shown() const { return static_cast<const SaveProgressView*>(view()); }
};

}  // namespace videoanalysis::qt

#pragma once
// The item of a player's scroll view: it passes pointers and says how large its content is to be shown.

#include "Platforms/QtQuick/ViewItem.h"

#include <QPointF>

namespace videoanalysis {
class GesturedScrollView;
}

namespace videoanalysis::qt {

/// "GesturedScrollView" in QML; clips its content, which is to be shown `zoomScale` times as large and moved by the offset.
/// Main thread.
class GesturedScrollViewItem : public ViewItem {
    Q_OBJECT
    Q_PROPERTY(double zoomScale READ zoomScale NOTIFY zoomChanged)
    /// Of the enlarged content, in points.
    Q_PROPERTY(QPointF offset READ offset NOTIFY zoomChanged)

public:
    explicit GesturedScrollViewItem(QQuickItem* parent = nullptr);

    double zoomScale() const;
    QPointF offset() const;

    void viewDidChange(ui::View& view, ui::Property property) override;

Q_SIGNALS:
    void zoomChanged();

private:
    GesturedScrollView* scrollView() const;
};

}  // namespace videoanalysis::qt

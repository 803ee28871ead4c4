#include "Platforms/QtQuick/GesturedScrollViewItem.h"

#include "VideoAnalysis/Views.h"

namespace videoanalysis::qt {

GesturedScrollViewItem::GesturedScrollViewItem(QQuickItem* parent)
    : ViewItem(std::make_shared<GesturedScrollView>(), parent) {
    setAcceptedMouseButtons(Qt::LeftButton | Qt::MiddleButton);
    setAcceptTouchEvents(true);
    setKeepMouseGrab(true);
    setKeepTouchGrab(true);
    setClip(true);
}

GesturedScrollView* GesturedScrollViewItem::scrollView() const { return static_cast<GesturedScrollView*>(view()); }

double GesturedScrollViewItem::zoomScale() const { return scrollView() ? scrollView()->zoomScale() : 1; }

QPointF GesturedScrollViewItem::offset() const {
    if (!scrollView()) return {};
    const Point offset = scrollView()->contentOffset();
    return {offset.x, offset.y};
}

void GesturedScrollViewItem::viewDidChange(ui::View& view, ui::Property property) {
    if (property == ui::Property::zoomScale || property == ui::Property::contentOffset) {
        Q_EMIT zoomChanged();
    } else {
        ViewItem::viewDidChange(view, property);
    }
}

}  // namespace videoanalysis::qt

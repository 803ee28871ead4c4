#include "Platforms/QtQuick/TrimmerViewItem.h"

#include "VideoAnalysis/Views.h"

namespace videoanalysis::qt {

TrimmerViewItem::TrimmerViewItem(QQuickItem* parent) : ControlItem(std::make_shared<TrimmerView>(), parent) {
    setKeepMouseGrab(true);
    setActiveFocusOnTab(false);  // its handles take the focus one by one
}

TrimmerView* TrimmerViewItem::trimmer() const { return static_cast<TrimmerView*>(view()); }

double TrimmerViewItem::startX() const { return trimmer() ? trimmer()->xOf(trimmer()->start()) : 0; }
double TrimmerViewItem::endX() const { return trimmer() ? trimmer()->xOf(trimmer()->end()) : 0; }
double TrimmerViewItem::positionX() const { return trimmer() ? trimmer()->xOf(trimmer()->position()) : 0; }
double TrimmerViewItem::startTime() const { return trimmer() ? trimmer()->start() : 0; }
double TrimmerViewItem::endTime() const { return trimmer() ? trimmer()->end() : 0; }
double TrimmerViewItem::time() const { return trimmer() ? trimmer()->position() : 0; }
bool TrimmerViewItem::isZoomed() const { return trimmer() && trimmer()->isZoomed(); }
double TrimmerViewItem::handleWidth() const { return TrimmerView::handleWidth; }

TrimmerViewItem::Part TrimmerViewItem::tracked() const {
    return trimmer() ? static_cast<Part>(trimmer()->trackedPart()) : Part::None;
}

int TrimmerViewItem::thumbnailCount() const { return trimmer() ? static_cast<int>(trimmer()->thumbnails().size()) : 0; }

double TrimmerViewItem::thumbnailWidth() const { return trimmer() ? trimmer()->thumbnailWidth() : 0; }

Image TrimmerViewItem::thumbnail(int index) const {
    return index >= 0 && index < thumbnailCount() ? trimmer()->thumbnails()[static_cast<std::size_t>(index)].image
                                                  : Image();
}

void TrimmerViewItem::nudge(Part part, int frames) {
    if (trimmer()) trimmer()->nudge(static_cast<TrimmerView::Part>(part), frames);
}

void TrimmerViewItem::viewDidChange(ui::View& view, ui::Property property) {
    switch (property) {
        case ui::Property::value: Q_EMIT changed(); break;
        case ui::Property::image: Q_EMIT thumbnailsChanged(); break;
        case ui::Property::other: Q_EMIT trackedChanged(); break;
        default: ControlItem::viewDidChange(view, property);
    }
}

void TrimmerViewItem::geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) {
    ControlItem::geometryChange(newGeometry, oldGeometry);
    Q_EMIT changed();
}

}  // namespace videoanalysis::qt

#include "Platforms/QtQuick/CollectionViewItem.h"

#include "VideoAnalysis/Views.h"

#include <algorithm>
#include <utility>

namespace videoanalysis::qt {

CollectionViewItem::CollectionViewItem(QQuickItem* parent) : ViewItem(std::make_shared<ui::CollectionView>(), parent) {}

void CollectionViewItem::setLayout(const QString& kind) {
    layout_ = kind;
    if (kind != QLatin1String("players")) return;
    const auto flow = std::make_shared<CollectionViewFlowLayout>();
    flow->setMinimumLineSpacing(0);
    flow->setMinimumInteritemSpacing(0);
    collectionView()->setCollectionViewLayout(flow);
}

void CollectionViewItem::viewDidChange(ui::View& view, ui::Property property) {
    switch (property) {
        case ui::Property::visibleCells: showVisibleCells(); break;
        case ui::Property::contentOffset:
            for (const QPointer<ViewItem>& item : shown_) {
                if (item && item->view()) item->moveToFrame();
            }
            break;
        default: ViewItem::viewDidChange(view, property);
    }
}

QPointF CollectionViewItem::contentOffset() const {
    if (!collectionView()) return {};
    const Point offset = collectionView()->contentOffset();
    return {offset.x, offset.y};
}

void CollectionViewItem::showVisibleCells() {
    const std::vector<QPointer<ViewItem>> before = std::exchange(shown_, {});
    for (const auto& [indexPath, cell] : collectionView()->visibleCells()) {
        if (ViewItem* item = itemOf(*cell)) shown_.push_back(item);
    }
    for (const QPointer<ViewItem>& item : before) {
        if (item && std::find(shown_.begin(), shown_.end(), item) == shown_.end()) item->setInSight(false);
    }
    for (const QPointer<ViewItem>& item : shown_) {
        item->setParentItem(this);
        item->moveToFrame();
        item->setInSight(true);
    }
    if (shown_.size() != before.size()) Q_EMIT countChanged();
    if (firstCell() != (before.empty() ? nullptr : before.front().data())) Q_EMIT firstCellChanged();
}

}  // namespace videoanalysis::qt

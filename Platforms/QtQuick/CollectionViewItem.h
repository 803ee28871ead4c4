#pragma once
// The item of a collection view: it shows the items of the cells in sight where the view's layout has put them, less
// how far the view is scrolled. The players, their controls and the ruler are collections.

#include "Platforms/QtQuick/ViewItem.h"
#include "VideoAnalysis/Platform/UI/CollectionView.h"

#include <QPointer>

#include <vector>

namespace videoanalysis::qt {

/// "CollectionView" in QML. Main thread.
class CollectionViewItem : public ViewItem {
    Q_OBJECT
    /// "players": all items share the view, side by side or stacked. Empty: the component sets the layout.
    Q_PROPERTY(QString layout READ layout WRITE setLayout)
    /// How many cells are in sight.
    Q_PROPERTY(int count READ count NOTIFY countChanged)
    /// The item of the first cell in sight; null when there is none.
    Q_PROPERTY(QQuickItem* firstCell READ firstCell NOTIFY firstCellChanged)

public:
    explicit CollectionViewItem(QQuickItem* parent = nullptr);

    const QString& layout() const { return layout_; }
    void setLayout(const QString& kind);

    QQuickItem* firstCell() const { return shown_.empty() ? nullptr : shown_.front().data(); }
    int count() const { return static_cast<int>(shown_.size()); }

    void viewDidChange(ui::View& view, ui::Property property) override;
    QPointF contentOffset() const override;

Q_SIGNALS:
    void countChanged();
    void firstCellChanged();

private:
    ui::CollectionView* collectionView() const { return static_cast<ui::CollectionView*>(view()); }
    void showVisibleCells();

    QString layout_;
    /// The items of the cells in sight.
    std::vector<QPointer<ViewItem>> shown_;
};

}  // namespace videoanalysis::qt

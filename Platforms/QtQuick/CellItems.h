#pragma once
// The items of the two kinds of cells and of the controls inside the second: what the cell templates have at their
// roots.

#include "Platforms/QtQuick/ViewItem.h"
#include "VideoAnalysis/Views.h"

namespace videoanalysis::qt {

/// "PlayerCell" in QML.
class PlayerCellItem : public ViewItem {
    Q_OBJECT

public:
    explicit PlayerCellItem(QQuickItem* parent = nullptr)
        : ViewItem(std::make_shared<PlayerCollectionViewCell>(), parent) {}
};

/// "OverlayCell" in QML.
class OverlayCellItem : public ViewItem {
    Q_OBJECT

public:
    explicit OverlayCellItem(QQuickItem* parent = nullptr)
        : ViewItem(std::make_shared<OverlayCollectionViewCell>(), parent) {}
};

/// "HUDView" in QML.
class HUDViewItem : public ViewItem {
    Q_OBJECT

public:
    explicit HUDViewItem(QQuickItem* parent = nullptr)
        : ViewItem(std::make_shared<PlayerCollectionViewCellHUDView>(), parent) {}

    /// A press has come down anywhere but on the panel of rates and the button that opens it.
    Q_INVOKABLE void touchedBesideRates() {
        const auto* hud = static_cast<const PlayerCollectionViewCellHUDView*>(view());
        if (hud && hud->didTouchBesideRates) hud->didTouchBesideRates();
    }
};

}  // namespace videoanalysis::qt

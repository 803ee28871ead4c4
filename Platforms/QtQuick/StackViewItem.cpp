#include "Platforms/QtQuick/StackViewItem.h"

#include "Platforms/QtQuick/ButtonItem.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace videoanalysis::qt {
namespace {

class LaidOutStackView : public ui::StackView {
public:
    std::function<void()> layOut;

protected:
    void layoutSubviews() override {
        if (observer() && layOut) layOut();
    }
};

}  // namespace

StackViewItem::StackViewItem(QQuickItem* parent) : ViewItem(std::make_shared<LaidOutStackView>(), parent) {
    static_cast<LaidOutStackView*>(view())->layOut = [this] { layOut(); };
}

StackViewItem::~StackViewItem() {
    // The children go after this item has become less than a view: their calls then have no receiver.
    for (QQuickItem* child : childItems()) disconnect(child, nullptr, this, nullptr);
}

void StackViewItem::itemChange(ItemChange change, const ItemChangeData& value) {
    if (change == ItemChildAddedChange) {
        if (const auto* button = qobject_cast<ButtonItem*>(value.item)) {
            // Not `visibleChanged`, which says nothing while something above is hidden.
            connect(button, &ViewItem::hiddenChanged, this, [this] {
                if (view()) view()->setNeedsLayout();
            });
        }
    }
    ViewItem::itemChange(change, value);
}

void StackViewItem::componentComplete() {
    ViewItem::componentComplete();
    layOut();
}

void StackViewItem::setHorizontal(bool horizontal) {
    isHorizontal_ = horizontal;
    layOut();
}

void StackViewItem::setMirrored(bool mirrored) {
    isMirrored_ = mirrored;
    layOut();
}

void StackViewItem::layOut() {
    double end = 0;
    double widest = 0;
    QList<QQuickItem*> children = childItems();
    if (isHorizontal_ && isMirrored_) std::reverse(children.begin(), children.end());
    for (QQuickItem* child : std::as_const(children)) {
        auto* button = qobject_cast<ButtonItem*>(child);
        if (!button || button->view()->isHidden()) continue;
        if (end > 0) end += spacing_;
        button->setPosition(isHorizontal_ ? QPointF(end, 0) : QPointF(0, end));
        end += isHorizontal_ ? button->width() : button->height();
        widest = std::max(widest, isHorizontal_ ? button->height() : button->width());
    }
    setImplicitSize(isHorizontal_ ? end : widest, isHorizontal_ ? widest : end);
}

}  // namespace videoanalysis::qt

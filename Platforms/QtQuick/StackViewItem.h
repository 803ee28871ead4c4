#pragma once
// The item of a stack view: its buttons stand below or beside one another, hidden ones take no room. It lays out when
// the component asks for it, so that what is read after a layout is true at once.

#include "Platforms/QtQuick/ViewItem.h"

namespace videoanalysis::qt {

/// "StackView" in QML; its implicit size is that of the visible buttons. Other children stand where they like. Main
/// thread.
class StackViewItem : public ViewItem {
    Q_OBJECT
    /// Points between two buttons.
    Q_PROPERTY(double spacing MEMBER spacing_)
    /// Beside one another.
    Q_PROPERTY(bool horizontal READ isHorizontal WRITE setHorizontal)
    /// Those beside one another begin at the right.
    Q_PROPERTY(bool mirrored READ isMirrored WRITE setMirrored)

public:
    explicit StackViewItem(QQuickItem* parent = nullptr);
    ~StackViewItem() override;

    bool isHorizontal() const { return isHorizontal_; }
    void setHorizontal(bool horizontal);
    bool isMirrored() const { return isMirrored_; }
    void setMirrored(bool mirrored);

protected:
    void itemChange(ItemChange change, const ItemChangeData& value) override;
    void componentComplete() override;

private:
    void layOut();

    double spacing_ = 0;
    bool isHorizontal_ = false;
    bool isMirrored_ = false;
};

}  // namespace videoanalysis::qt

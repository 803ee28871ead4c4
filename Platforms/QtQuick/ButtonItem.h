#pragma once
// The item of a button: it holds what its QML look shows and lets the keyboard press it. `Resources/Controls/` gives it that look.

#include "Platforms/QtQuick/ControlItem.h"
#include "VideoAnalysis/Platform/Image.h"

namespace videoanalysis::qt {

/// "Button" in QML. Main thread.
class ButtonItem : public ControlItem {
    Q_OBJECT
    Q_PROPERTY(QString title READ title WRITE setTitle NOTIFY contentChanged)
    /// The name of the picture that the button has at first.
    Q_PROPERTY(QString glyph READ glyph WRITE setGlyph NOTIFY contentChanged)
    /// What an `Icon` shows.
    Q_PROPERTY(videoanalysis::Image image READ image NOTIFY contentChanged)
    Q_PROPERTY(QColor titleColor READ titleColor NOTIFY contentChanged)
    Q_PROPERTY(bool selected READ isSelected NOTIFY contentChanged)

public:
    explicit ButtonItem(QQuickItem* parent = nullptr);

    ui::ControlEvent actionEvent() const override { return ui::ControlEvent::touchUpInside; }
    QString title() const;
    void setTitle(const QString& title);
    QString glyph() const { return QString::fromStdString(image().name()); }
    void setGlyph(const QString& name);
    Image image() const;
    QColor titleColor() const;
    bool isSelected() const;

    void viewDidChange(ui::View& view, ui::Property property) override;

    /// What the keyboard and assistive technology do: a press and its release inside.
    Q_INVOKABLE void click();

Q_SIGNALS:
    void contentChanged();

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    ui::Button* button() const { return static_cast<ui::Button*>(view()); }
};

}  // namespace videoanalysis::qt

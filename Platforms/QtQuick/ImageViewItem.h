#pragma once
// The item of an image view: it hands the picture to a QML `Icon`.

#include "Platforms/QtQuick/ViewItem.h"
#include "VideoAnalysis/Platform/UI/Control.h"

namespace videoanalysis::qt {

/// "ImageView" in QML. Main thread.
class ImageViewItem : public ViewItem {
    Q_OBJECT
    /// The name of the picture that the view has at first.
    Q_PROPERTY(QString glyph READ glyph WRITE setGlyph NOTIFY imageChanged)
    Q_PROPERTY(videoanalysis::Image image READ image NOTIFY imageChanged)

public:
    explicit ImageViewItem(QQuickItem* parent = nullptr) : ViewItem(std::make_shared<ui::ImageView>(), parent) {}

    QString glyph() const { return QString::fromStdString(image().name()); }
    void setGlyph(const QString& name) { imageView()->setImage(Image::named(name.toStdString())); }
    Image image() const { return imageView() ? imageView()->image() : Image(); }

    void viewDidChange(ui::View& view, ui::Property property) override {
        if (property == ui::Property::image) {
            Q_EMIT imageChanged();
        } else {
            ViewItem::viewDidChange(view, property);
        }
    }

Q_SIGNALS:
    void imageChanged();

private:
    ui::ImageView* imageView() const { return static_cast<ui::ImageView*>(view()); }
};

}  // namespace videoanalysis::qt

#pragma once
// Shows a picture of the component's resources, coloured, or a bitmap as it is, sharp at every scale of the screen. The
// QML looks of buttons, markers and placeholders are made with it.

#include "VideoAnalysis/Platform/Image.h"

#include <QColor>
#include <QQuickItem>
#include <QString>

namespace videoanalysis::qt {

/// "Icon" in QML. Main thread. The picture keeps its shape and is centred in the item.
class IconItem : public QQuickItem {
    Q_OBJECT
    /// A resource of the component ("close"), or the path of a file or resource of the host's.
    Q_PROPERTY(QString name READ name WRITE setName NOTIFY imageChanged)
    Q_PROPERTY(videoanalysis::Image image READ image WRITE setImage NOTIFY imageChanged)
    /// What drawn pictures are coloured with; bitmaps keep their own colours.
    Q_PROPERTY(QColor color READ color WRITE setColor NOTIFY colorChanged)

public:
    explicit IconItem(QQuickItem* parent = nullptr);

    QString name() const { return QString::fromStdString(image_.name()); }
    void setName(const QString& name) { setImage(Image::named(name.toStdString())); }
    const Image& image() const { return image_; }
    void setImage(const Image& image);
    QColor color() const { return color_; }
    void setColor(const QColor& color);

Q_SIGNALS:
    void imageChanged();
    void colorChanged();

protected:
    QSGNode* updatePaintNode(QSGNode* node, UpdatePaintNodeData* data) override;
    void geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) override;
    void itemChange(ItemChange change, const ItemChangeData& value) override;

private:
    void redraw();

    Image image_;
    QColor color_ = Qt::white;
    bool isTextureOld_ = true;
};

}  // namespace videoanalysis::qt

#pragma once
// The colours of the host's theme, and the accent, for the QML files; it follows the analysis.

#include "VideoAnalysis/Platform/Color.h"

#include <QColor>
#include <QObject>

#include <memory>

namespace videoanalysis {

/// The singleton "Theme" in QML, one for each QML engine. Main thread; a platform must be installed.
class ScreenTheme : public QObject {
    Q_OBJECT
    /// What lies under everything.
    Q_PROPERTY(QColor ground READ ground NOTIFY changed)
    /// The ground, translucent, for bars and panels over a picture.
    Q_PROPERTY(QColor panel READ panel NOTIFY changed)
    /// Glyphs and text.
    Q_PROPERTY(QColor ink READ ink NOTIFY changed)
    /// The colour of the selected tool.
    Q_PROPERTY(QColor accent READ accent NOTIFY changed)

public:
    explicit ScreenTheme(QObject* parent = nullptr);
    ~ScreenTheme() override;

    QColor ground() const;
    QColor panel() const;
    QColor ink() const;
    QColor accent() const;

Q_SIGNALS:
    void changed();

private:
    struct Colors;
    class Subscriber;

    std::shared_ptr<Subscriber> subscriber_;
};

}  // namespace videoanalysis

#pragma once
// The colours of the host's theme, the accent, and how long motion takes, for the QML files; it follows the analysis and
// the setting for reduced motion.

#include "VideoAnalysis/Views.h"

#include <QColor>
#include <QObject>

#include <memory>

namespace videoanalysis::qt {

/// The singleton "Theme" in QML, one for each QML engine. Main thread only; a platform must be installed.
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
    /// How long a press, and what appears under a finger, take, in milliseconds; 0 when motion is reduced.
    Q_PROPERTY(int pressMotion READ pressMotion NOTIFY motionChanged)
    Q_PROPERTY(int quickMotion READ quickMotion NOTIFY motionChanged)

public:
    explicit ScreenTheme(QObject* parent = nullptr);
    ~ScreenTheme() override;

    QColor ground() const;
    QColor panel() const;
    QColor ink() const;
    QColor accent() const;
    int pressMotion() const;
    int quickMotion() const;

Q_SIGNALS:
    void changed();
    void motionChanged();

private:
    ScreenColors colors_;
    std::shared_ptr<void> observation_;
};

}  // namespace videoanalysis::qt

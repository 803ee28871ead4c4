#pragma once
// Whether the screen may move things: one setting for the whole process, as a desktop has it. Everything of this folder and
// of the QML files that animates asks here how long that may take.

#include <QObject>
#include <QString>

namespace videoanalysis::qt {

/// Main thread.
class Motion : public QObject {
    Q_OBJECT

public:
    /// The desktop's setting, until it is set here.
    static Motion& shared();

    /// Whether the settings in `folder`, a user's folder of configuration files, switch animations off: KDE's in
    /// "kdeglobals" or GTK's in "gtk-4.0/settings.ini" or "gtk-3.0/settings.ini".
    static bool isReducedBy(const QString& folder);

    bool isReduced() const { return isReduced_; }
    void setReduced(bool reduced);
    /// `milliseconds`, or 0 when motion is reduced.
    int duration(int milliseconds) const { return isReduced_ ? 0 : milliseconds; }

Q_SIGNALS:
    void changed();

private:
    Motion();

    bool isReduced_;
};

}  // namespace videoanalysis::qt

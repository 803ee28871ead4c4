#pragma once
// Whether the screen may move things: one setting for the whole process, as a desktop has it. Everything of this folder and
// of the QML files that animates asks here how long that may take.

#include <QObject>

namespace videoanalysis {

/// Main thread.
class Motion : public QObject {
    Q_OBJECT

public:
    static Motion& shared();

    bool isReduced() const { return isReduced_; }
    void setReduced(bool reduced);
    /// `milliseconds`, or 0 when motion is reduced.
    int duration(int milliseconds) const { return isReduced_ ? 0 : milliseconds; }

Q_SIGNALS:
    void changed();

private:
    bool isReduced_ = false;
};

}  // namespace videoanalysis

#pragma once
// The program without a display: it works the screen as a person would, with synthetic mouse and touch input, and
// leaves a picture of the screen, the drawings and a log of what happened. `main` runs it for --headless.

#include <QString>
#include <QStringList>

namespace videoanalysis::host {

class HeadlessRun {
public:
    /// Writes screen.png, stack.json and session.log into `folder`, which is made if it is missing. Returns the exit
    /// status: 0, 2 when the folder cannot be written or a clip cannot be played (a line on the error output says
    /// which), 1 when the screen does not do what it should.
    static int run(const QStringList& clips, const QString& folder);
};

}  // namespace videoanalysis::host

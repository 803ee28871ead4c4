#pragma once
// Runs the program without a display: operates the screen with synthetic mouse and touch input, and writes a screenshot, the
// drawings and a log. Called by `main` for --headless.

#include <QString>
#include <QStringList>

namespace videoanalysis::host {

class HeadlessRun {
public:
    /// Writes screen.png, stack.json and session.log into `folder`, which is created if necessary. Returns the exit status:
    /// 0; 2 if the folder is not writable or a clip cannot be played, with a line on the error output; 1 if the screen
    /// does not respond as expected.
    static int run(const QStringList& clips, const QString& folder);
};

}  // namespace videoanalysis::host

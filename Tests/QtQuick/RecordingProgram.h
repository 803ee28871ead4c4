#pragma once
// The program with a user at its controls who records a clip and stops, in a separate process, for tests that end it at
// any moment.

#include <QProcess>
#include <QString>

#include <functional>

namespace videoanalysis {

class RecordingProgram {
public:
    // ---- In the program

    static bool isAskedFor();
    /// Returns the exit status. The program ends, as when its window is closed, when its standard input does. It writes a line
    /// when it `records` and when it has `stopped`.
    static int run();

    // ---- In the test

    /// Starts it with `home` for the user's folders; it stops recording after `milliseconds`.
    RecordingProgram(const QString& home, int milliseconds);
    ~RecordingProgram();
    /// Waits for the line; false when the program ends or says nothing for a minute.
    bool waitFor(const char* line);
    /// Waits for `condition`; false when the program ends or it does not hold within a minute.
    bool waitFor(const std::function<bool()>& condition);
    void kill();
    /// Closes the window; whether the program has ended as it should.
    bool close();

private:
    QProcess process_;
    QByteArray output_;
};

}  // namespace videoanalysis

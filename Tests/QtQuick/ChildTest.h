#pragma once
// A disabled test of this program, run in a separate process: for what is fixed for a whole process, such as the scale of
// its screens, and for a program that may hang.

#include <QByteArray>
#include <QProcess>
#include <QString>

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace videoanalysis {

class ChildTest {
public:
    /// Starts the test whose full name ends with `name`, with `environment` added to this process's own.
    ChildTest(const char* name, const std::vector<std::pair<const char*, QString>>& environment);
    /// Kills the process if it is still running.
    ~ChildTest();

    /// Waits until the test prints `line`; false when it ends or is silent for a minute before.
    bool waitForLine(const char* line);
    /// Waits until the process ends. A failure quotes what the test printed.
    testing::AssertionResult hasPassed(int milliseconds = 60000);

private:
    QProcess process_;
    QByteArray output_;
};

}  // namespace videoanalysis

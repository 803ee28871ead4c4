#include "QtQuick/ChildTest.h"

#include <QCoreApplication>
#include <QProcessEnvironment>

namespace videoanalysis {

ChildTest::ChildTest(const char* name, const std::vector<std::pair<const char*, QString>>& environment) {
    QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
    for (const auto& [variable, value] : environment) variables.insert(QLatin1String(variable), value);
    process_.setProcessEnvironment(variables);
    process_.setProcessChannelMode(QProcess::MergedChannels);
    process_.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--gtest_also_run_disabled_tests"),
                                                             QStringLiteral("--gtest_filter=*") + QLatin1String(name)});
}

ChildTest::~ChildTest() {
    if (process_.state() == QProcess::NotRunning) return;
    process_.kill();
    process_.waitForFinished();
}

bool ChildTest::waitForLine(const char* line) {
    const QByteArray whole = QByteArray(line) + '\n';
    while (!output_.contains(whole) && process_.waitForReadyRead(60000)) output_ += process_.readAll();
    return output_.contains(whole);
}

testing::AssertionResult ChildTest::hasPassed(int milliseconds) {
    const bool hasEnded = process_.state() == QProcess::NotRunning || process_.waitForFinished(milliseconds);
    output_ += process_.readAll();
    if (!hasEnded) return testing::AssertionFailure() << "it does not end\n" << output_.constData();
    const bool isFine = process_.exitStatus() == QProcess::NormalExit && process_.exitCode() == 0;
    if (isFine && output_.contains("[  PASSED  ] 1 test.")) return testing::AssertionSuccess();
    return testing::AssertionFailure() << output_.constData();
}

}  // namespace videoanalysis

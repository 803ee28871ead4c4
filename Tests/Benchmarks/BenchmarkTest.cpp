#include "Benchmarks/Benchmark.h"

#include <gtest/gtest.h>

#include <cmath>
#include <csignal>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace videoanalysis::bench {
namespace {

struct Outcome {
    std::string wrong;
    std::vector<Case> cases;
};

Outcome run(std::function<void(Report&)> work) {
    Outcome outcome;
    outcome.wrong = runInChildProcess({"group", std::move(work)},
                                      [&](Case measured) { outcome.cases.push_back(std::move(measured)); });
    return outcome;
}

TEST(BenchmarkTest, ReceivesCasesFromTheChildProcess) {
    const Outcome outcome = run([](Report& report) {
        report.value("alone", 2.5, "ms");
        report.against("compared", 3, "ms", "peer", 4, 0.7);
        report.value("not measured", std::numeric_limits<double>::quiet_NaN(), "ms", 10);
    });
    EXPECT_EQ(outcome.wrong, "");
    ASSERT_EQ(outcome.cases.size(), 3U);
    EXPECT_EQ(outcome.cases[0].value, 2.5);
    EXPECT_FALSE(outcome.cases[0].isOver());
    EXPECT_EQ(outcome.cases[1].ratio(), 0.75);
    EXPECT_TRUE(outcome.cases[1].isOver());
    EXPECT_TRUE(std::isnan(outcome.cases[2].value));
    EXPECT_TRUE(outcome.cases[2].isOver()) << "NaN exceeds every limit";
}

TEST(BenchmarkTest, FailedGroupReportsTheReasonAndKeepsItsCases) {
    const Outcome thrown = run([](Report& report) {
        report.value("before", 1, "ms");
        throw std::runtime_error("no\npeer");
    });
    EXPECT_EQ(thrown.wrong, "no peer");
    EXPECT_EQ(thrown.cases.size(), 1U);

    const Outcome crashed = run([](Report& report) {
        report.value("before", 1, "ms");
        std::raise(SIGKILL);
    });
    EXPECT_EQ(crashed.wrong, "terminated by signal: Killed");
    EXPECT_EQ(crashed.cases.size(), 1U);

    EXPECT_EQ(run([](Report&) {}).wrong, "no cases were measured");
}

}  // namespace
}  // namespace videoanalysis::bench

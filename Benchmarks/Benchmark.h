#pragma once
// The benchmark framework: named groups of measured cases with limits. A file of benchmarks registers its group with
// BENCHMARK_GROUP; the bench program runs each group in a separate process and checks the limits.
//
//     BENCHMARK_GROUP(sketch, "sketch") {
//         const auto [ours, bare] = measurePaired(rebuild, drawWithCairo, 15);
//         report.against("full rebuild", ours, "ms", "bare Cairo", bare, 0.5);
//         report.value("allocations per point", countAllocations(addPoint), "", 0);
//     }

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace videoanalysis::bench {

/// One measured figure.
struct Case {
    std::string bench;
    std::string name;
    double value = 0;
    std::string unit;
    std::string peer;  ///< what it is compared with; may be empty
    double peerValue = 0;
    std::optional<double> limit;  ///< max of the ratio to the peer or, without a peer, of the value

    /// value / peerValue; empty without a peer.
    std::optional<double> ratio() const;
    /// Whether the limit is exceeded. NaN exceeds every limit.
    bool isOver() const;
    /// One line of JSON without a line break; numbers have five digits, non-finite ones are null.
    std::string json() const;
    /// Parses the output of json(); null numbers become NaN. Throws std::exception for anything else.
    static Case fromJson(const std::string& line);
};

/// Receives the cases of a group as soon as they are measured.
class Report {
public:
    Report(std::string bench, std::function<void(Case)> add) : bench_(std::move(bench)), add_(std::move(add)) {}

    /// Adds a value; without a limit it is only shown. Lower is better.
    void value(std::string name, double value, std::string unit, std::optional<double> limit = {});

    /// Adds a value and that of `peer`; the limit applies to value / peerValue.
    void against(std::string name, double value, std::string unit, std::string peer, double peerValue,
                 std::optional<double> limit = {});

private:
    std::string bench_;
    std::function<void(Case)> add_;
};

/// A registered group. Groups run in the order of their names.
struct Group {
    std::string name;
    std::function<void(Report&)> run;
};

/// All registered groups, sorted by name.
const std::vector<Group>& groups();

/// Runs `group` in a child process and passes its cases to `take` as they are measured. Returns a one-line error (an
/// exception, the signal that ended it, or that it measured nothing), or empty on success. Call it while the process is
/// single-threaded.
std::string runInChildProcess(const Group& group, const std::function<void(Case)>& take);

/// Registers a group before main(); used by BENCHMARK_GROUP.
bool addGroup(std::string name, std::function<void(Report&)> run);

/// Defines and registers a group: BENCHMARK_GROUP(identifier, "name") { ... report ... }
#define BENCHMARK_GROUP(identifier, name)                                                                              \
    static void identifier##Group(::videoanalysis::bench::Report& report);                                             \
    [[maybe_unused]] static const bool identifier##GroupIsAdded =                                                      \
        ::videoanalysis::bench::addGroup(name, identifier##Group);                                                     \
    static void identifier##Group([[maybe_unused]] ::videoanalysis::bench::Report& report)

enum class Clock {
    processor,   ///< CPU time of the calling thread; steadier on a busy machine
    allThreads,  ///< CPU time of all threads of the process
    wall,        ///< elapsed time
};

/// Milliseconds on that clock since an arbitrary start.
double now(Clock clock);

/// Median milliseconds of `rounds` calls of `work`, after one warm-up call.
double measure(const std::function<void()>& work, int rounds, Clock clock = Clock::processor);

struct PairedTimes {
    double first = 0;  ///< milliseconds, the median of the rounds
    double second = 0;
};

/// Medians of `rounds` calls each, after one warm-up call each. Alternates first, second, second, first and so on, so that
/// load on the machine affects both.
PairedTimes measurePaired(const std::function<void()>& first, const std::function<void()>& second, int rounds,
                          Clock clock = Clock::processor);

/// The median; NaN if there are no values. Sorts a copy.
double median(std::vector<double> values);

/// The `share` quantile (0...1); NaN if there are no values.
double percentile(std::vector<double> values, double share);

}  // namespace videoanalysis::bench

#pragma once
// What every benchmark is written with: a named group of measured cases, each with the limit that it must keep. A file of
// benchmarks registers its group with BENCHMARK_GROUP; the bench program runs each group in a process of its own and judges
// the cases.
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
    std::string peer;  ///< what it is compared with; empty for nothing
    double peerValue = 0;
    std::optional<double> limit;  ///< the most that the ratio to the peer, or the value without a peer, may be

    /// value / peerValue; nothing without a peer.
    std::optional<double> ratio() const;
    /// Whether the limit is broken. A figure that is not a number breaks any.
    bool isOver() const;
    /// One line of JSON, without the end of line; numbers have five digits, one that is not finite is null.
    std::string json() const;
    /// Reads what json() wrote; a null number is not a number. Throws std::exception for anything else.
    static Case fromJson(const std::string& line);
};

/// What a group hands its cases to, each as soon as it is measured.
class Report {
public:
    Report(std::string bench, std::function<void(Case)> add) : bench_(std::move(bench)), add_(std::move(add)) {}

    /// A figure of its own; without a limit it is only shown. Lower is better.
    void value(std::string name, double value, std::string unit, std::optional<double> limit = {});

    /// A figure beside the same one of `peer`; the limit is on value / peerValue.
    void against(std::string name, double value, std::string unit, std::string peer, double peerValue,
                 std::optional<double> limit = {});

private:
    std::string bench_;
    std::function<void(Case)> add_;
};

/// A group to run, and its place in the list. Groups run in the order of their names.
struct Group {
    std::string name;
    std::function<void(Report&)> run;
};

/// All registered groups, sorted by name.
const std::vector<Group>& groups();

/// Runs `group` in a child process and passes each of its cases to `take` as soon as it is measured. Returns what went wrong in
/// one line: what the group threw, the signal that ended it, or that it measured nothing; empty when it ran to its end. Call it
/// while the process has one thread.
std::string runInChildProcess(const Group& group, const std::function<void(Case)>& take);

/// Adds a group before main() begins; used by BENCHMARK_GROUP.
bool addGroup(std::string name, std::function<void(Report&)> run);

/// Begins the function of a group: BENCHMARK_GROUP(identifier, "name") { ... report ... }
#define BENCHMARK_GROUP(identifier, name)                                                                              \
    static void identifier##Group(::videoanalysis::bench::Report& report);                                             \
    [[maybe_unused]] static const bool identifier##GroupIsAdded =                                                      \
        ::videoanalysis::bench::addGroup(name, identifier##Group);                                                     \
    static void identifier##Group([[maybe_unused]] ::videoanalysis::bench::Report& report)

enum class Clock {
    processor,   ///< time that the calling thread computed: steadier on a busy machine
    allThreads,  ///< time that all threads of the process computed
    wall,        ///< time that passed
};

/// Milliseconds on that clock since some moment.
double now(Clock clock);

/// Median of the milliseconds that one call of `work` takes over `rounds` calls, after one that does not count.
double measure(const std::function<void()>& work, int rounds, Clock clock = Clock::processor);

struct PairedTimes {
    double first = 0;  ///< milliseconds, the median of the rounds
    double second = 0;
};

/// Runs the two in turns, first, second, second, first and so on, so that whatever slows the machine down slows both; the
/// medians of `rounds` calls each, after one of each that does not count.
PairedTimes measurePaired(const std::function<void()>& first, const std::function<void()>& second, int rounds,
                          Clock clock = Clock::processor);

/// The middle of the values, or the mean of the two in the middle; not a number of none. Takes a copy to sort.
double median(std::vector<double> values);

/// The value that the part `share` (0 to 1) of the values does not exceed; not a number of none.
double percentile(std::vector<double> values, double share);

}  // namespace videoanalysis::bench

#include "Benchmarks/Benchmark.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <nlohmann/json.hpp>
#include <numeric>

namespace videoanalysis::bench {

namespace {

/// Five digits: more would only be noise.
double rounded(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.5g", value);
    return std::strtod(text, nullptr);
}

std::vector<Group>& registeredGroups() {
    static std::vector<Group> all;
    return all;
}

}  // namespace

std::optional<double> Case::ratio() const {
    if (peer.empty()) return std::nullopt;
    return value / peerValue;
}

bool Case::isOver() const { return limit && !(ratio().value_or(value) <= *limit); }

std::string Case::json() const {
    nlohmann::ordered_json line{{"bench", bench}, {"case", name}, {"value", rounded(value)}, {"unit", unit}};
    if (!peer.empty()) {
        line["peer"] = peer;
        line["peerValue"] = rounded(peerValue);
        line["ratio"] = rounded(*ratio());
    }
    if (limit) line["limit"] = *limit;
    return line.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

void Report::value(std::string name, double value, std::string unit, std::optional<double> limit) {
    add({bench_, std::move(name), value, std::move(unit), {}, 0, limit});
}

void Report::against(std::string name, double value, std::string unit, std::string peer, double peerValue,
                     std::optional<double> limit) {
    add({bench_, std::move(name), value, std::move(unit), std::move(peer), peerValue, limit});
}

void Report::add(Case measured) {
    std::fprintf(stderr, "%s: %s\n", measured.bench.c_str(), measured.name.c_str());
    cases_.push_back(std::move(measured));
}

const std::vector<Group>& groups() {
    auto& all = registeredGroups();
    std::sort(all.begin(), all.end(), [](const Group& a, const Group& b) { return a.name < b.name; });
    return all;
}

bool addGroup(std::string name, std::function<void(Report&)> run) {
    registeredGroups().push_back({std::move(name), std::move(run)});
    return true;
}

double now(Clock clock) {
    const clockid_t id = clock == Clock::processor    ? CLOCK_THREAD_CPUTIME_ID
                         : clock == Clock::allThreads ? CLOCK_PROCESS_CPUTIME_ID
                                                      : CLOCK_MONOTONIC;
    timespec time{};
    clock_gettime(id, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) * 1e-6;
}

double measure(const std::function<void()>& work, int rounds, Clock clock) {
    work();
    std::vector<double> times;
    for (int round = 0; round < rounds; ++round) {
        const double start = now(clock);
        work();
        times.push_back(now(clock) - start);
    }
    return median(std::move(times));
}

PairedTimes measurePaired(const std::function<void()>& first, const std::function<void()>& second, int rounds,
                          Clock clock) {
    std::vector<double> firstTimes;
    std::vector<double> secondTimes;
    const auto run = [&](const std::function<void()>& work, std::vector<double>& times) {
        const double start = now(clock);
        work();
        times.push_back(now(clock) - start);
    };
    first();
    second();
    for (int round = 0; round < rounds; ++round) {
        if (round % 2 == 0) {
            run(first, firstTimes);
            run(second, secondTimes);
        } else {
            run(second, secondTimes);
            run(first, firstTimes);
        }
    }
    return {median(std::move(firstTimes)), median(std::move(secondTimes))};
}

double median(std::vector<double> values) {
    if (values.empty()) return std::numeric_limits<double>::quiet_NaN();
    std::sort(values.begin(), values.end());
    return std::midpoint(values[(values.size() - 1) / 2], values[values.size() / 2]);
}

double percentile(std::vector<double> values, double share) {
    if (values.empty()) return std::numeric_limits<double>::quiet_NaN();
    std::sort(values.begin(), values.end());
    const double rank = std::ceil(std::clamp(share, 0.0, 1.0) * static_cast<double>(values.size()));
    return values[static_cast<std::size_t>(std::max(1.0, rank)) - 1];
}

}  // namespace videoanalysis::bench

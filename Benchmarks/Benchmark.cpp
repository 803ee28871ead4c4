#include "Benchmarks/Benchmark.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <exception>
#include <limits>
#include <nlohmann/json.hpp>
#include <numeric>

namespace videoanalysis::bench {

namespace {

/// Five significant digits; more would be noise.
double rounded(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.5g", value);
    return std::strtod(text, nullptr);
}

/// Prefix of the line with which a child process reports a failure; no line of JSON begins with it.
const std::string failure = "failed: ";

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

Case Case::fromJson(const std::string& line) {
    const auto parsed = nlohmann::json::parse(line);
    const auto number = [&](const char* key) {
        const auto& value = parsed.at(key);
        return value.is_null() ? std::numeric_limits<double>::quiet_NaN() : value.get<double>();
    };
    Case result{parsed.at("bench"), parsed.at("case"), number("value"), parsed.at("unit"), {}, 0, {}};
    if (parsed.contains("peer")) {
        result.peer = parsed.at("peer");
        result.peerValue = number("peerValue");
    }
    if (parsed.contains("limit")) result.limit = number("limit");
    return result;
}

void Report::value(std::string name, double value, std::string unit, std::optional<double> limit) {
    add_({bench_, std::move(name), value, std::move(unit), {}, 0, limit});
}

void Report::against(std::string name, double value, std::string unit, std::string peer, double peerValue,
                     std::optional<double> limit) {
    add_({bench_, std::move(name), value, std::move(unit), std::move(peer), peerValue, limit});
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

std::string runInChildProcess(const Group& group, const std::function<void(Case)>& take) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return "no pipe: " + std::string(std::strerror(errno));
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        std::FILE* out = fdopen(ends[1], "w");
        const auto send = [out](const std::string& line) {
            std::fputs((line + '\n').c_str(), out);
            std::fflush(out);
        };
        Report report(group.name, [&](const Case& measured) { send(measured.json()); });
        try {
            group.run(report);
        } catch (const std::exception& error) {
            std::string reason = error.what();
            std::replace(reason.begin(), reason.end(), '\n', ' ');
            send(failure + reason);
        }
        std::exit(0);
    }
    close(ends[1]);
    std::string wrong;
    bool hasMeasured = false;
    std::FILE* in = fdopen(ends[0], "r");
    char* line = nullptr;
    std::size_t capacity = 0;
    for (ssize_t length; child > 0 && (length = getline(&line, &capacity, in)) > 0;) {
        const std::string text(line, static_cast<std::size_t>(length - 1));
        if (text.starts_with(failure)) {
            wrong = text.substr(failure.size());
        } else {
            take(Case::fromJson(text));
            hasMeasured = true;
        }
    }
    std::free(line);
    std::fclose(in);
    if (child < 0) return "cannot start a child process";
    int status = 0;
    waitpid(child, &status, 0);
    if (!wrong.empty()) return wrong;
    if (WIFSIGNALED(status)) return std::string("terminated by signal: ") + strsignal(WTERMSIG(status));
    if (status != 0) return "exited with status " + std::to_string(WEXITSTATUS(status));
    return hasMeasured ? "" : "no cases were measured";
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

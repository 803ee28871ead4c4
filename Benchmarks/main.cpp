// bench [NAME...] [--json FILE]: runs the named benchmarks, or all. Exit status: 0 if all limits are met; 1 if a limit is
// exceeded or a group failed; 2 if the arguments are invalid or the results cannot be written.

#include "Benchmarks/Benchmark.h"
#include "Benchmarks/MpvPeer.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

namespace {

using namespace videoanalysis::bench;

std::string groupNames() {
    std::string names;
    for (const Group& group : groups()) names += " " + group.name;
    return names;
}

std::string number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.4g", value);
    return text;
}

void printTable(const std::vector<Case>& cases) {
    std::vector<std::vector<std::string>> rows{{"bench", "case", "value", "peer", "ratio", "limit", ""}};
    for (const Case& one : cases) {
        rows.push_back({one.bench, one.name, number(one.value) + (one.unit.empty() ? "" : " " + one.unit),
                        one.peer.empty() ? "" : one.peer + " " + number(one.peerValue),
                        one.ratio() ? number(*one.ratio()) : "", one.limit ? number(*one.limit) : "",
                        one.isOver() ? "OVER" : ""});
    }
    std::vector<std::size_t> widths(rows.front().size());
    for (const auto& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
    }
    for (const auto& row : rows) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            line += row[i] + std::string(widths[i] - row[i].size() + 2, ' ');
        }
        line.erase(line.find_last_not_of(' ') + 1);
        std::printf("%s\n", line.c_str());
    }
}

struct Arguments {
    std::vector<std::string> names;  ///< of the groups to run; empty for all
    std::string jsonPath;            ///< empty for none
};

/// Empty, after a line on the error output, if the arguments are invalid.
std::optional<Arguments> parse(int argc, char** argv) {
    Arguments result;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument == "--json") {
            if (++i == argc) {
                std::fprintf(stderr, "bench: --json needs a file name\n");
                return std::nullopt;
            }
            result.jsonPath = argv[i];
        } else {
            result.names.push_back(argument);
        }
    }
    for (const std::string& name : result.names) {
        if (std::none_of(groups().begin(), groups().end(), [&](const Group& group) { return group.name == name; })) {
            std::fprintf(stderr, "bench: unknown benchmark %s; available:%s\n", name.c_str(), groupNames().c_str());
            return std::nullopt;
        }
    }
    return result;
}

}  // namespace

int main(int argc, char** argv) {
    using namespace videoanalysis::bench;
    if (const std::optional<int> status = MpvPeer::playerMain(argc, argv)) return *status;
    const std::optional<Arguments> arguments = parse(argc, argv);
    if (!arguments) return 2;
    const auto& [names, jsonPath] = *arguments;
    // Opened before measuring and written incrementally, so that an interrupted run keeps its results.
    std::FILE* json = nullptr;
    if (!jsonPath.empty() && !(json = std::fopen(jsonPath.c_str(), "w"))) {
        std::fprintf(stderr, "bench: cannot write %s\n", jsonPath.c_str());
        return 2;
    }

    std::vector<Case> cases;
    bool failed = false;
    const auto take = [&](Case measured) {
        std::fprintf(stderr, "%s: %s: %s%s\n", measured.bench.c_str(), measured.name.c_str(),
                     number(measured.value).c_str(), measured.isOver() ? " OVER" : "");
        if (json && (std::fprintf(json, "%s\n", measured.json().c_str()) < 0 || std::fflush(json) != 0)) {
            std::fprintf(stderr, "bench: cannot write %s\n", jsonPath.c_str());
            std::exit(2);
        }
        failed = failed || measured.isOver();
        cases.push_back(std::move(measured));
    };
    for (const Group& group : groups()) {
        if (!names.empty() && std::find(names.begin(), names.end(), group.name) == names.end()) continue;
        if (const std::string wrong = runInChildProcess(group, take); !wrong.empty()) {
            std::fprintf(stderr, "bench: %s: %s\n", group.name.c_str(), wrong.c_str());
            failed = true;
        }
    }

    printTable(cases);
    if (json) std::fclose(json);
    return failed ? 1 : 0;
}

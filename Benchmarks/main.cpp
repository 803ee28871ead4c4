// bench [NAME...] [--json FILE]: runs the benchmarks of those names, or all. Status 0 when every limit is kept, 1 when one
// is broken or a group failed, 2 when the arguments are wrong or the results cannot be written.

#include "Benchmarks/Benchmark.h"
#include "Benchmarks/MpvPeer.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
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

}  // namespace

int main(int argc, char** argv) {
    using namespace videoanalysis::bench;
    if (const std::optional<int> status = MpvPeer::playerMain(argc, argv)) return *status;
    std::vector<std::string> names;
    std::string jsonPath;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument == "--json") {
            if (++i == argc) {
                std::fprintf(stderr, "bench: --json needs the name of a file\n");
                return 2;
            }
            jsonPath = argv[i];
        } else {
            names.push_back(argument);
        }
    }
    for (const std::string& name : names) {
        if (std::none_of(groups().begin(), groups().end(), [&](const Group& group) { return group.name == name; })) {
            std::fprintf(stderr, "bench: no benchmark is called %s; there are:%s\n", name.c_str(),
                         groupNames().c_str());
            return 2;
        }
    }
    // Opened before minutes of measuring, and written as the figures come: what was measured stays when the run is cut short.
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

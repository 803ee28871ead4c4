// bench [NAME...] [--json FILE]: runs the benchmarks of those names, or all. Status 0 when every limit is kept, 1 when one
// is broken or nothing could be measured, 2 when the arguments are wrong.

#include "Benchmarks/Benchmark.h"
#include "Benchmarks/MpvPeer.h"

#include <algorithm>
#include <cstdio>
#include <exception>
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
    // Opened before minutes of measuring.
    std::FILE* json = nullptr;
    if (!jsonPath.empty() && !(json = std::fopen(jsonPath.c_str(), "w"))) {
        std::fprintf(stderr, "bench: cannot write %s\n", jsonPath.c_str());
        return 2;
    }

    std::vector<Case> cases;
    bool failed = false;
    for (const Group& group : groups()) {
        if (!names.empty() && std::find(names.begin(), names.end(), group.name) == names.end()) continue;
        Report report(group.name, cases);
        const std::size_t before = cases.size();
        try {
            group.run(report);
        } catch (const std::exception& error) {
            std::fprintf(stderr, "bench: %s failed: %s\n", group.name.c_str(), error.what());
            failed = true;
        }
        if (cases.size() == before) {
            std::fprintf(stderr, "bench: %s measured nothing\n", group.name.c_str());
            failed = true;
        }
    }

    printTable(cases);
    if (json) {
        for (const Case& one : cases) std::fprintf(json, "%s\n", one.json().c_str());
        if (std::fclose(json) != 0) {
            std::fprintf(stderr, "bench: cannot write %s\n", jsonPath.c_str());
            failed = true;
        }
    }
    failed = failed || std::any_of(cases.begin(), cases.end(), [](const Case& one) { return one.isOver(); });
    return failed ? 1 : 0;
}

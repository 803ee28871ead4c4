#pragma once
// The parsed command line: `video-analysis [--headless DIR] [CLIP [CLIP]]`. Used by `main`.

#include <QStringList>

namespace videoanalysis::host {

struct CommandLine {
    QStringList clips;     ///< URLs, at most two; empty for the sample clips
    QString outputFolder;  ///< results of a headless run; empty for a run with a window
    QString message;       ///< one line for the error output, or the requested help text; empty to run the program
    int exitStatus = 0;    ///< valid with a message

    /// `argc` and `argv` of `main`; file names may be in any encoding. An application object must exist.
    static CommandLine parse(int argc, char** argv);
    /// Whether the arguments select a headless run. Needs no application object.
    static bool isHeadless(int argc, char** argv);
};

}  // namespace videoanalysis::host

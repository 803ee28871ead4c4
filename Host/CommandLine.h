#pragma once
// What the program is asked to do on its command line: `video-analysis [--headless DIR] [CLIP [CLIP]]`. `main` reads
// it.

#include <QStringList>

namespace videoanalysis::host {

struct CommandLine {
    QStringList clips;     ///< URLs, at most two; empty for the sample clips
    QString outputFolder;  ///< where a run without a screen leaves its results; empty for a run with one
    QString message;  ///< one line for the error output, or the text that was asked for; empty when there is work to do
    int exitStatus = 0;  ///< with a message

    /// The arguments that `main` has received; file names in them may be any bytes. An application object must exist.
    static CommandLine parse(int argc, char** argv);
    /// Whether the arguments ask for a run without a screen: known before there is an application.
    static bool isHeadless(int argc, char** argv);
};

}  // namespace videoanalysis::host

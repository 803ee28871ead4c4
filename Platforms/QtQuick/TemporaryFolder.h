#pragma once
// The platform's folder for temporary files: gone with the program, or at the next start when the program was killed.
// `QtQuickPlatform` owns it.

#include <QLockFile>
#include <QTemporaryDir>

#include <memory>
#include <string>

namespace videoanalysis::qt {

/// Main thread.
class TemporaryFolder {
public:
    /// Removes what killed programs have left behind; never the folder of a running one.
    TemporaryFolder();
    /// Removes the folder with everything in it.
    ~TemporaryFolder();

    /// Without a trailing slash; made on first use, for its user only. Empty when it cannot be made.
    std::string path();

private:
    std::unique_ptr<QTemporaryDir> folder_;
    std::unique_ptr<QLockFile> lock_;  ///< says that the program is running
};

}  // namespace videoanalysis::qt

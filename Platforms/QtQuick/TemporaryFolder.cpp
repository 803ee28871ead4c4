#include "Platforms/QtQuick/TemporaryFolder.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <unistd.h>

namespace videoanalysis::qt {
namespace {

const QString prefix = QStringLiteral("videoanalysis-");

QString lockPath(const QString& folder) { return folder + QStringLiteral("/lock"); }

void removeLeftovers() {
    constexpr auto everything = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
    QDirIterator folders(QDir::tempPath(), {prefix + QLatin1Char('*')}, QDir::Dirs | QDir::NoSymLinks);
    while (folders.hasNext()) {
        const QString path = folders.next();
        if (folders.fileInfo().ownerId() != ::getuid()) continue;
        // Without a lock, its program may be about to make one.
        if (!QFileInfo::exists(lockPath(path))) continue;
        QLockFile lock(lockPath(path));
        lock.setStaleLockTime(0);  // however long the program has been running
        if (!lock.tryLock()) continue;
        for (const QFileInfo& entry : QDir(path).entryInfoList(everything)) {
            if (entry.absoluteFilePath() == lockPath(path)) continue;
            if (entry.isDir() && !entry.isSymLink()) {
                QDir(entry.absoluteFilePath()).removeRecursively();
            } else {
                QFile::remove(entry.absoluteFilePath());
            }
        }
        lock.unlock();
        QDir().rmdir(path);
    }
}

}  // namespace

TemporaryFolder::TemporaryFolder() { removeLeftovers(); }

TemporaryFolder::~TemporaryFolder() = default;

std::string TemporaryFolder::path() {
    if (!folder_) {
        folder_ =
            std::make_unique<QTemporaryDir>(QDir::tempPath() + QLatin1Char('/') + prefix + QStringLiteral("XXXXXX"));
        lock_ = std::make_unique<QLockFile>(lockPath(folder_->path()));
        lock_->setStaleLockTime(0);
        if (folder_->isValid()) lock_->tryLock();
    }
    return folder_->isValid() ? folder_->path().toStdString() : std::string();
}

}  // namespace videoanalysis::qt

#include "qt/invocation/VRNScreenshotFolderWatcher.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

#include "platform/loop/VRNNotificationCenter.h"

namespace vorna {
namespace {

const QString kScreenshotsFolder = QStringLiteral("Screenshots");

}  // namespace

VRNScreenshotFolderWatcher::VRNScreenshotFolderWatcher(QStringList picturesFolders,
                                                       std::function<bool()> shouldReport,
                                                       QObject* parent)
    : QObject(parent),
      picturesFolders_(std::move(picturesFolders)),
      shouldReport_(std::move(shouldReport)) {
    connect(&watcher_, &QFileSystemWatcher::directoryChanged, this,
            &VRNScreenshotFolderWatcher::folderChanged);
    for (const QString& folder : picturesFolders_) {
        watch(folder, false, false);
        watch(QDir(folder).filePath(kScreenshotsFolder), true, false);
    }
}

QStringList VRNScreenshotFolderWatcher::defaultPicturesFolders() {
    QStringList folders;
    for (const QString& folder :
         QStandardPaths::standardLocations(QStandardPaths::PicturesLocation)) {
        const QString clean = QDir::cleanPath(folder);
        // Without a pictures folder of its own the desktop answers the home folder, whose
        // changes have nothing to do with screenshots.
        if (!clean.isEmpty() && clean != QDir::cleanPath(QDir::homePath()) &&
            !folders.contains(clean)) {
            folders.append(clean);
        }
    }
    return folders;
}

bool VRNScreenshotFolderWatcher::isScreenshotName(const QString& fileName,
                                                  bool inScreenshotsFolder) {
    if (fileName.startsWith(QLatin1Char('.'))) {
        return false;
    }
    static const QStringList pictureSuffixes{QStringLiteral("png"), QStringLiteral("jpg"),
                                             QStringLiteral("jpeg"), QStringLiteral("webp"),
                                             QStringLiteral("bmp")};
    if (!pictureSuffixes.contains(QFileInfo(fileName).suffix().toLower())) {
        return false;
    }
    return inScreenshotsFolder ||
           fileName.contains(QLatin1String("screenshot"), Qt::CaseInsensitive);
}

void VRNScreenshotFolderWatcher::watch(const QString& folder, bool screenshotsFolder,
                                       bool filesAreNew) {
    const QString clean = QDir::cleanPath(folder);
    if (isScreenshotsFolder_.contains(clean) || !QFileInfo(clean).isDir()) {
        return;
    }
    isScreenshotsFolder_.insert(clean, screenshotsFolder);
    known_.insert(clean, {});
    watcher_.addPath(clean);
    if (filesAreNew) {
        // A folder that appears while we watch holds the screenshot it was made for.
        folderChanged(clean);
    } else {
        const QStringList present = QDir(clean).entryList(QDir::Files | QDir::Hidden);
        known_[clean] = QSet<QString>(present.begin(), present.end());
    }
}

void VRNScreenshotFolderWatcher::folderChanged(const QString& folder) {
    const bool screenshotsFolder = isScreenshotsFolder_.value(folder);
    if (!screenshotsFolder) {
        // The screenshots folder may have been made just now.
        watch(QDir(folder).filePath(kScreenshotsFolder), true, true);
    }
    const QStringList present = QDir(folder).entryList(QDir::Files | QDir::Hidden);
    const QSet<QString> known = known_.value(folder);
    // Names that went away are forgotten, so a picture saved again under the same name counts.
    known_[folder] = QSet<QString>(present.begin(), present.end());
    for (const QString& name : present) {
        if (known.contains(name)) {
            continue;
        }
        if (!isScreenshotName(name, screenshotsFolder) || (shouldReport_ && !shouldReport_())) {
            continue;
        }
        const QString path = QDir(folder).filePath(name);
        emit screenshotTaken(path);
        VRNNotificationCenter::defaultCenter().post(
            VRNApplicationUserDidTakeScreenshotNotification);
    }
}

}  // namespace vorna

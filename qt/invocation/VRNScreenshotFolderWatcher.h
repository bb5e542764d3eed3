#pragma once

#include <QFileSystemWatcher>
#include <QHash>
#include <QObject>
#include <QSet>
#include <QStringList>

#include <functional>

namespace vorna {

// Notices the desktop's screenshot tools: a new picture in the screenshots folder (GNOME and
// KDE save to Pictures/Screenshots) or a new picture named like a screenshot in the pictures
// folder itself (older desktops) posts the "user did take screenshot" notification. Files that
// were there when watching began, hidden and temporary files, and files that are not pictures
// are ignored; each file counts once. A screenshots folder made later is watched from then on.
class VRNScreenshotFolderWatcher : public QObject {
    Q_OBJECT

public:
    // `picturesFolders`: the user's pictures folders (their Screenshots subfolders are watched
    // too). `shouldReport` decides at the moment a file appears whether it is the tester's
    // screenshot of this application (for instance: the application was in front lately).
    VRNScreenshotFolderWatcher(QStringList picturesFolders, std::function<bool()> shouldReport,
                               QObject* parent = nullptr);

    // The user's pictures folders, from the desktop's settings.
    static QStringList defaultPicturesFolders();

    // Whether a new file of that name in that kind of folder is a screenshot.
    static bool isScreenshotName(const QString& fileName, bool inScreenshotsFolder);

    QStringList watchedFolders() const { return watcher_.directories(); }

signals:
    void screenshotTaken(const QString& path);

private:
    void folderChanged(const QString& folder);
    void watch(const QString& folder, bool screenshotsFolder, bool filesAreNew);

    QFileSystemWatcher watcher_;
    QStringList picturesFolders_;
    std::function<bool()> shouldReport_;
    QHash<QString, bool> isScreenshotsFolder_;
    QHash<QString, QSet<QString>> known_;
};

}  // namespace vorna

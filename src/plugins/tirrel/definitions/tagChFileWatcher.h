#pragma once

#include "tirrel_global.h"

#include <QObject>
#include <QString>

class QFileSystemWatcher;
struct FileDataTree;

// Keeps an up-to-date FileDataTree of one definition file: loads it on construction, and on every
// change notification from the file system reloads it and emits tgchFileUpdated(). The path is
// watched again after each change, so a file that an editor saves by writing a new file and
// renaming it over the old one stays watched; a file that is deleted (and not replaced at once)
// is no longer watched until setFile() is called.
class TIRREL_EXPORT TagChFileWatcher : public QObject
{
    Q_OBJECT

public:
    // Loads path without emitting tgchFileUpdated().
    TagChFileWatcher(QString path, QObject *parent = nullptr);
    // Deletes the tree held at that moment: a pointer from tagChData() dies with the watcher.
    ~TagChFileWatcher() override;

    // Watches path instead of the current file and reloads; emits nothing.
    void setFile(QString path);
    // The tree of the last (re)load, null when the file could not be opened. Owned by the
    // watcher and deleted at the next reload.
    FileDataTree *tagChData();

signals:
    // After a reload caused by a change on disk, with the new tree already in place.
    void tgchFileUpdated();

private slots:
    void onFileChanged(QString);

private:
    QFileSystemWatcher *m_watcher;
    QString m_filePath;
    FileDataTree *m_data;
};

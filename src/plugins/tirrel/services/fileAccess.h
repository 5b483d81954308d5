#pragma once

#include "tirrel_global.h"

#include <QByteArray>
#include <QObject>
#include <QString>

#include <functional>

class QIODevice;

// How the library reads and replaces files.
//
// Reading: every file the library opens by path (definition files, CSV tag lists, the object
// library files, files probed by ProjectFileProbe) is read whole through readFile, and only when
// it is a regular file of at most MaxFileSize bytes. Pipes and devices are never opened for
// reading, so that none of them blocks the caller or feeds it without end.
//
// Saving: every writer (ScaFileProcessor::saveFileData, both TgchFileProcessor::writeToFile,
// ScadaEngine::saveUserLibraryFile and the image copies of ScadaEngine::addUserObject) either
// replaces the file whole or leaves it byte for byte as it was:
//   - the new content is first compared with the file already there; a file whose content would
//     not change is not written at all (same inode, same modification time);
//   - otherwise the content goes to a temporary file beside the target (".<name>.<random>"),
//     which is renamed over the target once every byte is on disk. A save killed midway leaves
//     the old file as it was (and that temporary file, which can be deleted);
//   - the new file keeps the old one's permission bits, and its owner and group where the process
//     may set them: root keeps both; another user keeps the group when it belongs to it, and the
//     file then belongs to that user. Since it is a new file, hard links to the old one go on
//     showing the old content; a symbolic link is followed and the file it names is replaced;
//   - a save fails, and leaves the file alone, when the target is not a regular file, cannot be
//     written by the process, its folder cannot take a new file, the disk or the quota is full,
//     the process's file size limit is reached, or the content would exceed MaxFileSize (which
//     no reader would take back).
// lastSaveOutcome() and lastSaveError() tell how the most recent save on the calling thread went.
class TIRREL_EXPORT FileAccess : public QObject
{
    Q_OBJECT

public:
    // The largest file read or written: 512 MiB. A page of 100,000 items takes about 130 MB.
    static constexpr qint64 MaxFileSize = qint64(512) * 1024 * 1024;

    enum ReadResult {
        Read,           // *data holds the whole file
        Unreadable,     // missing, a folder, not a regular file, no permission, a read error
        TooLarge        // a regular file larger than MaxFileSize; nothing read
    };

    enum SaveOutcome {
        NoSave,         // no save has run on this thread yet
        Replaced,       // the file was written (created, or replaced whole)
        Unchanged,      // the file already held exactly the new content and was not touched
        Failed          // nothing was changed on disk; lastSaveError() says why
    };

    explicit FileAccess(QObject *parent = nullptr);
    ~FileAccess() override;

    // Reads the whole file at path into *data. On failure *data is left empty and *errorMessage
    // (when not null) says why in a few words: "no such file", "a folder, not a file", "not a
    // regular file", the system's reason ("Permission denied"), or for TooLarge the limit and
    // the file's size. The path is given as the file system holds it (QFile::encodeName), so
    // that names that are not valid text can be read too.
    static ReadResult readFile(const QByteArray &nativePath, QByteArray *data,
                               QString *errorMessage = nullptr);
    static ReadResult readFile(const QString &path, QByteArray *data,
                               QString *errorMessage = nullptr);

    // Saves a file the caller makes itself by the rules above: write() puts the whole content
    // into the device it is given and returns false when one of its writes failed. True when
    // the file holds the new content (replaced, or unchanged); otherwise the file is as it was
    // and lastSaveError() says why.
    static bool saveFile(const QString &path, const std::function<bool(QIODevice &)> &write);

    // The outcome of the most recent save made by the library on the calling thread, and for a
    // failed one the reason in words ("the folder /p is not writable (Permission denied)", "the
    // disk is full (No space left on device)"); the reason is empty otherwise.
    static SaveOutcome lastSaveOutcome();
    static QString lastSaveError();
};

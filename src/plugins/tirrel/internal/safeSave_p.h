#pragma once

#include "fileAccess.h"

#include <QByteArray>
#include <QIODevice>
#include <QString>

#include <sys/types.h>

// How a save went; also recorded for FileAccess::lastSaveOutcome() and lastSaveError().
enum class SaveResult {
    Saved,          // written: created, or replaced whole
    Unchanged,      // the file already held the new content and was not touched
    OpenFailed,     // the file cannot be written (read-only, not a regular file, its folder
                    // cannot take the new file); nothing was changed
    WriteFailed     // writing failed (a full disk, a size limit); nothing was changed
};

// True when the file holds the new content: written, or found to hold it already.
inline bool succeeded(SaveResult result)
{
    return result == SaveResult::Saved || result == SaveResult::Unchanged;
}

struct SaveOptions
{
    // Added to QIODevice::WriteOnly (QIODevice::Text for the definition files).
    QIODevice::OpenMode mode = QIODevice::NotOpen;
    // Replace a file the process may not write, as long as its folder takes new files (a
    // read-only image of the user library is replaced as if removed first).
    bool replaceReadOnly = false;
    // The permission bits of the new file; -1: those of the file replaced, or for a new file
    // what the process's umask leaves of 0666.
    int permissions = -1;
    // Content beyond this many bytes fails the save: by default the most the readers take.
    qint64 sizeLimit = FileAccess::MaxFileSize;
};

// The device the writers write to: it compares the bytes with the file already at the target
// and, from the first difference on, writes them to a temporary file beside it, which commit()
// renames over the target (FileAccess in fileAccess.h tells the rules). Until commit() nothing at
// the target changes; a device destroyed without commit() removes its temporary file.
class SafeSaveDevice : public QIODevice
{
public:
    SafeSaveDevice(const QString &path, const SaveOptions &options);
    ~SafeSaveDevice() override;

    // Opens for writing: false when the target cannot be written at all.
    bool openForSave();
    // Ends the save: `written` is false when the writer saw one of its writes fail. Records and
    // returns the result.
    SaveResult commit(bool written);

    bool isSequential() const override { return true; }

protected:
    qint64 readData(char *, qint64) override { return -1; }
    qint64 writeData(const char *data, qint64 length) override;

private:
    bool process(const char *data, qint64 length);
    bool compare(const char *data, qint64 length);
    bool startTemporaryFile();
    bool writeOut(const char *data, qint64 length);
    bool flushBuffer();
    bool fail(SaveResult result, const QString &reason);
    bool failWithErrno(SaveResult result, int error);
    void finishTemporaryFile();
    void closeAll();

    QString m_path;             // the target as given
    QByteArray m_target;        // the file actually replaced (symbolic links followed), native
    QByteArray m_temporary;     // the temporary file, native; empty until made
    SaveOptions m_options;
    int m_existing = -1;        // the old file, read while comparing
    int m_out = -1;             // the temporary file
    bool m_exists = false;
    bool m_comparing = false;   // every byte so far equals the old file's
    qint64 m_compared = 0;      // bytes found equal
    qint64 m_total = 0;         // bytes given by the writer
    mode_t m_mode = 0;
    uid_t m_owner = 0;
    gid_t m_group = 0;
    QByteArray m_buffer;
    QByteArray m_scratch;       // the old file's bytes being compared or copied
    SaveResult m_result = SaveResult::Saved;
    QString m_error;
};

// Replaces the file at path with what write(QIODevice &) puts into it; write returns false when
// one of its writes failed or fell short.
template <class Write>
SaveResult saveFileSafely(const QString &path, const SaveOptions &options, Write write)
{
    SafeSaveDevice device(path, options);
    if (!device.openForSave())
        return device.commit(false);
    const bool written = write(static_cast<QIODevice &>(device));
    return device.commit(written);
}

template <class Write>
SaveResult saveFileSafely(const QString &path, QIODevice::OpenMode mode, Write write)
{
    SaveOptions options;
    options.mode = mode;
    return saveFileSafely(path, options, write);
}

// Records how a save went, for FileAccess::lastSaveOutcome() and lastSaveError().
void recordSave(SaveResult result, const QString &error);

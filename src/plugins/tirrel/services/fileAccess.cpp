#include "fileAccess.h"

#include "safeSave_p.h"

#include <QFile>

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

struct LastSave
{
    FileAccess::SaveOutcome outcome = FileAccess::NoSave;
    QString error;
};

LastSave &lastSave()
{
    static thread_local LastSave save;
    return save;
}

// Stat, open, fstat: a pipe or device found by the first look is never opened, and one put in
// the file's place between the first look and the opening is not read.
FileAccess::ReadResult notRegular(const struct stat &st, QString *why)
{
    *why = S_ISDIR(st.st_mode) ? FileAccess::tr("a folder, not a file")
                               : FileAccess::tr("not a regular file");
    return FileAccess::Unreadable;
}

FileAccess::ReadResult tooLarge(qint64 size, QString *why)
{
    *why = FileAccess::tr("larger than %1 bytes, the most that is read (%2 bytes)")
               .arg(FileAccess::MaxFileSize)
               .arg(size);
    return FileAccess::TooLarge;
}

FileAccess::ReadResult systemFailure(int error, QString *why)
{
    *why = error == ENOENT || error == ENOTDIR ? FileAccess::tr("no such file")
                                               : qt_error_string(error);
    return FileAccess::Unreadable;
}

FileAccess::ReadResult readInto(int fd, QByteArray *data, QString *why)
{
    struct stat st;
    if (::fstat(fd, &st) != 0)
        return systemFailure(errno, why);
    if (!S_ISREG(st.st_mode))
        return notRegular(st, why);
    if (st.st_size > FileAccess::MaxFileSize)
        return tooLarge(st.st_size, why);
    // The size is a hint: the file may grow or shrink while it is read. Whatever comes after
    // the expected end is read into a small buffer first, so that the common case allocates once.
    data->resize(int(st.st_size));
    qint64 done = 0;
    char more[64 * 1024];
    for (;;) {
        const bool expected = done < data->size();
        const ssize_t n = expected ? ::read(fd, data->data() + done, size_t(data->size() - done))
                                   : ::read(fd, more, sizeof more);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return systemFailure(errno, why);
        }
        if (n == 0)
            break;
        if (!expected) {
            if (done + n > FileAccess::MaxFileSize)
                return tooLarge(done + n, why);
            data->append(more, int(n));
        }
        done += n;
    }
    data->resize(int(done));
    return FileAccess::Read;
}

} // namespace

FileAccess::FileAccess(QObject *parent)
    : QObject(parent)
{
}

FileAccess::~FileAccess() = default;

FileAccess::ReadResult FileAccess::readFile(const QByteArray &nativePath, QByteArray *data,
                                            QString *errorMessage)
{
    QString ignored;
    QString *why = errorMessage ? errorMessage : &ignored;
    why->clear();
    data->clear();
    struct stat st;
    if (nativePath.isEmpty())
        return systemFailure(ENOENT, why);
    if (::stat(nativePath.constData(), &st) != 0)
        return systemFailure(errno, why);
    if (!S_ISREG(st.st_mode))
        return notRegular(st, why);
    if (st.st_size > MaxFileSize)
        return tooLarge(st.st_size, why);
    const int fd = ::open(nativePath.constData(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    if (fd < 0)
        return systemFailure(errno, why);
    const ReadResult result = readInto(fd, data, why);
    ::close(fd);
    if (result != Read)
        data->clear();
    return result;
}

FileAccess::ReadResult FileAccess::readFile(const QString &path, QByteArray *data,
                                            QString *errorMessage)
{
    return readFile(QFile::encodeName(path), data, errorMessage);
}

bool FileAccess::saveFile(const QString &path, const std::function<bool(QIODevice &)> &write)
{
    return succeeded(saveFileSafely(path, QIODevice::NotOpen, write));
}

FileAccess::SaveOutcome FileAccess::lastSaveOutcome()
{
    return lastSave().outcome;
}

QString FileAccess::lastSaveError()
{
    return lastSave().error;
}

void recordSave(SaveResult result, const QString &error)
{
    LastSave &save = lastSave();
    switch (result) {
    case SaveResult::Saved:
        save.outcome = FileAccess::Replaced;
        break;
    case SaveResult::Unchanged:
        save.outcome = FileAccess::Unchanged;
        break;
    case SaveResult::OpenFailed:
    case SaveResult::WriteFailed:
        save.outcome = FileAccess::Failed;
        break;
    }
    save.error = save.outcome == FileAccess::Failed ? error : QString();
}

#include "safeSave_p.h"

#include "fileAccess.h"

#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Bytes gathered before they are compared or written: the writers hand over a few bytes at a
// time.
const int BufferSize = 256 * 1024;
// A file name may take this many bytes.
const int MaxNameLength = 255;

QString systemError(int error)
{
    return qt_error_string(error);
}

// Retries after signals and short writes.
bool writeAll(int fd, const char *data, qint64 length)
{
    while (length > 0) {
        const ssize_t n = ::write(fd, data, size_t(qMin<qint64>(length, BufferSize)));
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        data += n;
        length -= n;
    }
    return true;
}

// Reads up to length bytes at offset (or at the current position when offset is negative);
// fewer at the end of the file, -1 on an error.
qint64 readBytes(int fd, char *data, qint64 length, qint64 offset = -1)
{
    qint64 done = 0;
    while (done < length) {
        const size_t chunk = size_t(qMin<qint64>(length - done, BufferSize));
        const ssize_t n = offset < 0 ? ::read(fd, data + done, chunk)
                                     : ::pread(fd, data + done, chunk, off_t(offset + done));
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return -1;
        }
        if (n == 0)
            break;
        done += n;
    }
    return done;
}

QString randomSuffix()
{
    static const char letters[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
    QString suffix;
    for (int i = 0; i < 6; ++i)
        suffix += QLatin1Char(
                letters[QRandomGenerator::global()->bounded(int(sizeof letters) - 1)]);
    return suffix;
}

} // namespace

SafeSaveDevice::SafeSaveDevice(const QString &path, const SaveOptions &options)
    : m_path(path), m_options(options)
{
}

SafeSaveDevice::~SafeSaveDevice()
{
    closeAll();
}

bool SafeSaveDevice::openForSave()
{
    if (m_path.isEmpty())
        return fail(SaveResult::OpenFailed, FileAccess::tr("no file name was given"));
    m_target = QFile::encodeName(m_path);
    struct stat st;
    if (::lstat(m_target.constData(), &st) == 0 && S_ISLNK(st.st_mode)) {
        // A symbolic link stays; the file it names is replaced (or made, for a dangling link).
        if (char *resolved = ::realpath(m_target.constData(), nullptr)) {
            m_target = resolved;
            std::free(resolved);
        } else {
            m_target = QFile::encodeName(QFileInfo(m_path).symLinkTarget());
        }
    }

    if (::stat(m_target.constData(), &st) == 0) {
        m_exists = true;
        if (S_ISDIR(st.st_mode))
            return fail(SaveResult::OpenFailed, FileAccess::tr("it is a folder"));
        if (!S_ISREG(st.st_mode))
            return fail(SaveResult::OpenFailed, FileAccess::tr("it is not a regular file"));
        if (!m_options.replaceReadOnly
                && ::faccessat(AT_FDCWD, m_target.constData(), W_OK, AT_EACCESS) != 0) {
            return fail(SaveResult::OpenFailed,
                        FileAccess::tr("the file cannot be written (%1)").arg(systemError(errno)));
        }
        m_mode = st.st_mode & 07777;
        m_owner = st.st_uid;
        m_group = st.st_gid;
        m_existing = ::open(m_target.constData(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
        m_comparing = m_existing >= 0;
        // An old file that cannot be read cannot be compared: the new content replaces it.
        if (!m_comparing && !startTemporaryFile())
            return false;
    } else if (errno == ENOENT) {
        if (!startTemporaryFile())
            return false;
    } else {
        return fail(SaveResult::OpenFailed, systemError(errno));
    }
    m_buffer.reserve(BufferSize);
    return QIODevice::open(QIODevice::WriteOnly | m_options.mode);
}

qint64 SafeSaveDevice::writeData(const char *data, qint64 length)
{
    if (m_result != SaveResult::Saved)
        return -1;
    m_total += length;
    if (m_total > m_options.sizeLimit) {
        fail(SaveResult::WriteFailed,
             FileAccess::tr("the file would be larger than %1 bytes, the most the readers take")
                 .arg(m_options.sizeLimit));
        return -1;
    }
    if (m_buffer.size() + length > BufferSize) {
        if (!flushBuffer())
            return -1;
        if (length >= BufferSize)
            return process(data, length) ? length : -1;
    }
    m_buffer.append(data, int(length));
    return length;
}

bool SafeSaveDevice::flushBuffer()
{
    const bool done = m_buffer.isEmpty() || process(m_buffer.constData(), m_buffer.size());
    m_buffer.resize(0);
    return done;
}

bool SafeSaveDevice::process(const char *data, qint64 length)
{
    if (m_comparing) {
        if (compare(data, length)) {
            m_compared += length;
            return true;
        }
        m_comparing = false;
        if (!startTemporaryFile())
            return false;
    }
    return writeOut(data, length);
}

bool SafeSaveDevice::compare(const char *data, qint64 length)
{
    if (m_scratch.size() < length)
        m_scratch.resize(int(length));
    return readBytes(m_existing, m_scratch.data(), length) == length
           && std::memcmp(m_scratch.constData(), data, size_t(length)) == 0;
}

bool SafeSaveDevice::startTemporaryFile()
{
    const int slash = m_target.lastIndexOf('/');
    const QByteArray folder = slash < 0 ? QByteArray(".") : slash == 0 ? QByteArray("/")
                                                                      : m_target.left(slash);
    const QByteArray name = m_target.mid(slash + 1).left(MaxNameLength - 8);
    // A file of its own until it is complete: readable by others only where the new file will be.
    const mode_t mode = m_exists || m_options.permissions >= 0 ? 0600 : 0666;
    for (int attempt = 0; m_out < 0; ++attempt) {
        m_temporary = folder + "/." + name + '.' + randomSuffix().toLatin1();
        m_out = ::open(m_temporary.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOCTTY,
                       mode);
        if (m_out >= 0)
            break;
        const int error = errno;
        m_temporary.clear();
        if (error == EEXIST && attempt < 100)
            continue;
        const QString where = QFileInfo(QFile::decodeName(m_target)).absolutePath();
        switch (error) {
        case EACCES:
        case EPERM:
        case EROFS:
            return fail(SaveResult::OpenFailed, FileAccess::tr("the folder %1 is not writable (%2)")
                                                    .arg(where, systemError(error)));
        case ENOENT:
        case ENOTDIR:
            return fail(SaveResult::OpenFailed,
                        FileAccess::tr("the folder %1 does not exist").arg(where));
        case ENOSPC:
        case EDQUOT:
            return failWithErrno(SaveResult::WriteFailed, error);
        default:
            return fail(SaveResult::OpenFailed,
                        FileAccess::tr("no new file can be made in the folder %1 (%2)")
                            .arg(where, systemError(error)));
        }
    }

    // The bytes found equal so far come from the old file.
    for (qint64 offset = 0; offset < m_compared;) {
        if (m_scratch.size() < BufferSize)
            m_scratch.resize(BufferSize);
        const qint64 n = readBytes(m_existing, m_scratch.data(),
                                 qMin<qint64>(BufferSize, m_compared - offset), offset);
        if (n <= 0)
            return fail(SaveResult::WriteFailed,
                        FileAccess::tr("the old file could not be read again (%1)")
                            .arg(systemError(errno)));
        if (!writeOut(m_scratch.constData(), n))
            return false;
        offset += n;
    }
    return true;
}

bool SafeSaveDevice::writeOut(const char *data, qint64 length)
{
    return writeAll(m_out, data, length) || failWithErrno(SaveResult::WriteFailed, errno);
}

SaveResult SafeSaveDevice::commit(bool written)
{
    if (m_result == SaveResult::Saved) {
        if (!written)
            fail(SaveResult::WriteFailed, FileAccess::tr("the content could not be written"));
        else
            flushBuffer();
    }
    if (m_result == SaveResult::Saved && m_comparing) {
        // Every byte equals the old file's; unchanged unless the old file goes on.
        char byte;
        if (readBytes(m_existing, &byte, 1) == 0) {
            m_result = SaveResult::Unchanged;
        } else {
            m_comparing = false;
            startTemporaryFile();
        }
    }
    if (m_result == SaveResult::Saved)
        finishTemporaryFile();
    closeAll();
    if (isOpen())
        QIODevice::close();
    recordSave(m_result, m_error);
    return m_result;
}

void SafeSaveDevice::finishTemporaryFile()
{
    if (m_exists) {
        // The owner first: changing it clears the set-user and set-group bits set below. Only
        // root may give a file away; others keep at least the group where they belong to it.
        if (::fchown(m_out, m_owner, m_group) != 0)
            (void)::fchown(m_out, uid_t(-1), m_group);
    }
    const int mode = m_options.permissions >= 0 ? m_options.permissions
                                                : m_exists ? int(m_mode) : -1;
    if (mode >= 0)
        (void)::fchmod(m_out, mode_t(mode));
    // On disk before it takes the old file's name, so that no crash leaves an empty file there.
    if (::fsync(m_out) != 0 && errno != EINVAL) {
        failWithErrno(SaveResult::WriteFailed, errno);
        return;
    }
    const int out = m_out;
    m_out = -1;
    if (::close(out) != 0) {
        failWithErrno(SaveResult::WriteFailed, errno);
        return;
    }
    if (::rename(m_temporary.constData(), m_target.constData()) != 0) {
        fail(SaveResult::WriteFailed,
             FileAccess::tr("the new file could not take the place of the old one (%1)")
                 .arg(systemError(errno)));
        return;
    }
    m_temporary.clear();
}

bool SafeSaveDevice::fail(SaveResult result, const QString &reason)
{
    if (m_result == SaveResult::Saved) {
        m_result = result;
        m_error = reason;
    }
    return false;
}

bool SafeSaveDevice::failWithErrno(SaveResult result, int error)
{
    switch (error) {
    case ENOSPC:
        return fail(result, FileAccess::tr("the disk is full (%1)").arg(systemError(error)));
    case EDQUOT:
        return fail(result,
                    FileAccess::tr("the disk quota is used up (%1)").arg(systemError(error)));
    case EFBIG:
        return fail(result, FileAccess::tr("the file size limit of the process is reached (%1)")
                                .arg(systemError(error)));
    default:
        return fail(result, FileAccess::tr("writing failed (%1)").arg(systemError(error)));
    }
}

void SafeSaveDevice::closeAll()
{
    if (m_out >= 0) {
        ::close(m_out);
        m_out = -1;
    }
    if (!m_temporary.isEmpty()) {
        ::unlink(m_temporary.constData());
        m_temporary.clear();
    }
    if (m_existing >= 0) {
        ::close(m_existing);
        m_existing = -1;
    }
}

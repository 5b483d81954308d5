#pragma once

#include "tirrel_global.h"

#include <QIODevice>
#include <QSaveFile>
#include <QString>

// How a save went.
enum class SaveResult { Saved, OpenFailed, WriteFailed };

// Flushes the file and, unless that or an earlier write failed, commits it; otherwise drops the
// new content. QSaveFile on its own notices neither a write that falls short nor a failing final
// flush, and would rename the truncated file over the old one. Exported for the tirrel tool,
// which saves the files it makes itself through saveFileSafely too.
TIRREL_EXPORT SaveResult finishSave(QSaveFile &file, bool written);

// Replaces the file at path with what write(QIODevice &) puts into it; write returns false when
// one of its writes failed or fell short. The bytes go to a temporary file beside the target,
// renamed over it only once every byte is on disk, so a failed save (full disk, quota) leaves
// the old file exactly as it was. Where no temporary file can be made there (a folder that
// cannot be written while the file can), the file is written in place; a failure then leaves
// it incomplete, and is still reported. `mode` is added to QIODevice::WriteOnly.
template <class Write>
SaveResult saveFileSafely(const QString &path, QIODevice::OpenMode mode, Write write)
{
    QSaveFile file(path);
    file.setDirectWriteFallback(true);
    if (!file.open(QIODevice::WriteOnly | mode))
        return SaveResult::OpenFailed;
    const bool written = write(static_cast<QIODevice &>(file));
    return finishSave(file, written);
}

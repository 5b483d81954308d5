#include "safeSave_p.h"

SaveResult finishSave(QSaveFile &file, bool written)
{
    if (!written || !file.flush()) {
        file.cancelWriting();
        // Committing a cancelled file removes the temporary file and leaves a file written in
        // place alone; the destructor would try to remove whatever file it wrote to.
        file.commit();
        return SaveResult::WriteFailed;
    }
    return file.commit() ? SaveResult::Saved : SaveResult::WriteFailed;
}

// The CSV tag import on arbitrary bytes, through a file as the import reads one. The tags it
// makes are written as a definition file and read back: every tag must come back.
#include "fuzzSupport.h"

#include <tgchFileProcessor.h>

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    fuzz::silenceQt();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString &csv = fuzz::scratchFile("tags.csv");
    static const QString definitions = csv + QStringLiteral(".xml");
    const QByteArray bytes(reinterpret_cast<const char *>(data), int(size));
    if (!fuzz::writeAll(csv, bytes))
        fuzz::fail("cannot write the scratch file");

    // The last byte chooses the type codes, so that both tables are reached.
    const bool alternateTypeCodes = size > 0 && (data[size - 1] & 1);
    FileDataTree *tree = TgchFileProcessor::loadTagsFromCSV(csv, alternateTypeCodes);
    if (!tree)
        fuzz::fail("the import returned null for a readable file", bytes);
    if (!tree->ChannelList.isEmpty() || !tree->AlarmList.isEmpty())
        fuzz::fail("the import made channels or alarms", bytes);

    const int tags = tree->TagList.size();
    const bool written = TgchFileProcessor::writeToFile(tree, definitions);
    delete tree;
    if (!written)
        fuzz::fail("writing the imported tags failed", bytes);
    FileDataTree *back = TgchFileProcessor::loadFileData(definitions);
    const int tagsBack = back ? back->TagList.size() : -1;
    delete back;
    QFile::remove(definitions);
    if (tagsBack != tags)
        fuzz::fail("imported tags do not survive a save", bytes);
    return 0;
}

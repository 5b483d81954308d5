// The definition reader (byte-array form) on arbitrary bytes, through both of its paths (the
// XML tree and the DOM alone), which must give the same records. What it reads is written with
// the record writer and read again: from the second save on, saving what was read back must give
// the bytes of the save before, and every tree read starts with the one placeholder channel.
#include "defsDump.h"
#include "fuzzSupport.h"

#include <tgchFileProcessor.h>

#include <memory>

namespace {

void checkPlaceholder(const FileDataTree *tree, const QByteArray &input)
{
    if (tree->ChannelList.isEmpty() || tree->ChannelList.first()->Name != QLatin1String("None"))
        fuzz::fail("a tree without the placeholder channel first", input);
    for (int i = 1; i < tree->ChannelList.size(); ++i) {
        if (tree->ChannelList.at(i)->Name == QLatin1String("None"))
            fuzz::fail("a second placeholder channel", input);
    }
}

FileDataTree *load(const QByteArray &bytes)
{
    FileDataTree *tree = TgchFileProcessor::loadFileData(bytes);
    if (!tree)
        fuzz::fail("the reader returned null", bytes);
    checkPlaceholder(tree, bytes);
    return tree;
}

// Writes the tree to the scratch file, deletes it, and returns the bytes written.
QByteArray saveAndDestroy(FileDataTree *tree, const QString &path)
{
    const bool saved = TgchFileProcessor::writeToFile(tree, path);
    delete tree;
    if (!saved)
        fuzz::fail("writing a definition file failed");
    const QByteArray bytes = fuzz::readAll(path);
    fuzz::checkXmlCharacters(bytes);
    return bytes;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    fuzz::silenceQt();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString &path = fuzz::scratchFile("definitions.xml");
    const QByteArray bytes(reinterpret_cast<const char *>(data), int(size));
    fuzz::readWithBothPaths(bytes, [](const QByteArray &b) {
        const std::unique_ptr<FileDataTree> tree(load(b));
        return defs::dump(tree.get());
    });
    FileDataTree *tree = load(bytes);
    const QByteArray save1 = saveAndDestroy(tree, path);
    const QByteArray save2 = saveAndDestroy(load(save1), path);
    const QByteArray save3 = saveAndDestroy(load(save2), path);
    if (save2 != save3)
        fuzz::fail("saving a definition file read back changed the bytes", save2, save3);
    return 0;
}

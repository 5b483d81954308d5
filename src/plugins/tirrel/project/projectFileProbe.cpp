#include "projectFileProbe.h"

#include "scaFileFormat_p.h"
#include "scadaLibFormat_p.h"
#include "tgchFileFormat_p.h"
#include "xmlLimits_p.h"

#include <QByteArray>
#include <QDomDocument>
#include <QFile>
#include <QFileInfo>

namespace {

bool isXmlSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

enum class Start { Blank, Markup, Other };

// How the content begins, after a UTF-8 byte-order mark and white space. A UTF-16 or UTF-32
// mark, or UTF-16 text without a mark, counts as markup: the parser decides about those.
Start contentStart(const QByteArray &data)
{
    const auto starts = [&data](const char *bytes, int size) {
        return data.size() >= size && data.startsWith(QByteArray::fromRawData(bytes, size));
    };
    if (starts("\xFF\xFE", 2) || starts("\xFE\xFF", 2) || starts("\x00\x00\xFE\xFF", 4))
        return Start::Markup;
    int i = starts("\xEF\xBB\xBF", 3) ? 3 : 0;
    while (i < data.size() && isXmlSpace(data.at(i)))
        ++i;
    if (i == data.size())
        return Start::Blank;
    if (data.at(i) == '<')
        return Start::Markup;
    if (data.at(i) == '\0' && i + 1 < data.size() && data.at(i + 1) == '<')
        return Start::Markup;
    return Start::Other;
}

} // namespace

ProjectFileProbe::ProjectFileProbe(QObject *parent)
    : QObject(parent)
{
}

ProjectFileProbe::~ProjectFileProbe() = default;

ProjectFileInfo_t ProjectFileProbe::probe(const QByteArray &data)
{
    ProjectFileInfo_t info;
    const Start start = contentStart(data);
    if (start == Start::Blank) {
        info.kind = ProjectFileInfo_t::Empty;
        return info;
    }
    if (start == Start::Other) {
        // Parsed all the same, for the parser's own account of where it gives up.
        QDomDocument document;
        info.kind = ProjectFileInfo_t::NotXml;
        document.setContent(data, false, &info.errorMessage, &info.errorLine, &info.errorColumn);
        return info;
    }

    if (!checkXmlLimits(data)) {
        info.kind = ProjectFileInfo_t::Malformed;
        info.errorMessage = tr("the document nests elements more than %1 deep, declares entities "
                               "other than plain texts, or expands entities to more than %2 "
                               "characters")
                                .arg(XmlLimits::MaxDepth)
                                .arg(XmlLimits::MaxEntityExpansion);
        return info;
    }
    QDomDocument document;
    QString message;
    int line = 0;
    int column = 0;
    if (!document.setContent(data, false, &message, &line, &column) || !message.isEmpty()) {
        info.kind = ProjectFileInfo_t::Malformed;
        info.errorMessage = message;
        info.errorLine = line;
        info.errorColumn = column;
        return info;
    }

    info.rootElement = document.documentElement().tagName();
    if (info.rootElement == PageXml::ScadaFile.string())
        info.kind = ProjectFileInfo_t::PageFile;
    else if (info.rootElement == DefinitionXml::Root.string())
        info.kind = ProjectFileInfo_t::DefinitionFile;
    else if (info.rootElement == LibraryXml::Root.string())
        info.kind = ProjectFileInfo_t::ObjectLibraryFile;
    else
        info.kind = ProjectFileInfo_t::OtherXml;
    return info;
}

ProjectFileInfo_t ProjectFileProbe::probeFile(const QString &path)
{
    ProjectFileInfo_t info;
    info.kind = ProjectFileInfo_t::Unreadable;
    const QFileInfo fileInfo(path);
    // Checked before opening: opening a pipe for reading would wait for a writer.
    if (!fileInfo.exists()) {
        info.errorMessage = tr("no such file");
        return info;
    }
    if (fileInfo.isDir()) {
        info.errorMessage = tr("a folder, not a file");
        return info;
    }
    if (!fileInfo.isFile()) {
        info.errorMessage = tr("not a regular file");
        return info;
    }
    if (fileInfo.size() > MaxFileSize) {
        info.kind = ProjectFileInfo_t::TooLarge;
        info.errorMessage = tr("larger than %1 bytes").arg(MaxFileSize);
        return info;
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        info.errorMessage = file.errorString();
        return info;
    }
    const QByteArray data = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        info.errorMessage = file.errorString();
        return info;
    }
    return probe(data);
}

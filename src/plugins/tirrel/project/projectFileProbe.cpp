#include "projectFileProbe.h"

#include "scaFileFormat_p.h"
#include "scadaLibFormat_p.h"
#include "tgchFileFormat_p.h"
#include "xmlLimits_p.h"

#include <QByteArray>
#include <QDomDocument>
#include <QXmlStreamReader>

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

ProjectFileInfo_t::Kind kindOfRoot(const QString &root)
{
    if (root == PageXml::ScadaFile.string())
        return ProjectFileInfo_t::PageFile;
    if (root == DefinitionXml::Root.string())
        return ProjectFileInfo_t::DefinitionFile;
    if (root == LibraryXml::Root.string())
        return ProjectFileInfo_t::ObjectLibraryFile;
    return ProjectFileInfo_t::OtherXml;
}

QString limitMessage(XmlLimits::Exceeded exceeded)
{
    switch (exceeded) {
    case XmlLimits::Depth:
        return ProjectFileProbe::tr("the document nests elements more than %1 deep, the most the "
                                    "readers take")
            .arg(XmlLimits::MaxDepth);
    case XmlLimits::Entities:
        return ProjectFileProbe::tr("the document declares entities other than plain texts "
                                    "(external or parameter entities, or entities holding markup "
                                    "or references), which the readers do not take");
    case XmlLimits::EntityExpansion:
        return ProjectFileProbe::tr("the document's entities expand to more than %1 characters, "
                                    "the most the readers take")
            .arg(XmlLimits::MaxEntityExpansion);
    case XmlLimits::Markup:
    case XmlLimits::None:
        break;
    }
    return ProjectFileProbe::tr("the markup is malformed: an end tag without its start tag, or "
                                "a declaration where none may stand");
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

    const XmlLimits::Exceeded exceeded = xmlLimitExceeded(data);
    if (exceeded != XmlLimits::None) {
        info.kind = ProjectFileInfo_t::Malformed;
        info.errorMessage = limitMessage(exceeded);
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
    info.kind = kindOfRoot(info.rootElement);
    return info;
}

ProjectFileInfo_t ProjectFileProbe::probeRoot(const QByteArray &data)
{
    ProjectFileInfo_t info;
    const Start start = contentStart(data);
    if (start != Start::Markup) {
        info.kind = start == Start::Blank ? ProjectFileInfo_t::Empty : ProjectFileInfo_t::NotXml;
        return info;
    }
    QXmlStreamReader reader(data);
    // Prefixes are part of the name, as for the readers, which do not process namespaces.
    reader.setNamespaceProcessing(false);
    while (!reader.atEnd()) {
        if (reader.readNext() == QXmlStreamReader::StartElement) {
            info.rootElement = reader.qualifiedName().toString();
            info.kind = kindOfRoot(info.rootElement);
            return info;
        }
    }
    info.kind = ProjectFileInfo_t::Malformed;
    info.errorMessage = reader.errorString();
    info.errorLine = int(reader.lineNumber());
    info.errorColumn = int(reader.columnNumber());
    return info;
}

ProjectFileInfo_t ProjectFileProbe::probeFile(const QString &path)
{
    ProjectFileInfo_t info;
    QByteArray data;
    switch (FileAccess::readFile(path, &data, &info.errorMessage)) {
    case FileAccess::Read:
        return probe(data);
    case FileAccess::Unreadable:
        info.kind = ProjectFileInfo_t::Unreadable;
        break;
    case FileAccess::TooLarge:
        info.kind = ProjectFileInfo_t::TooLarge;
        break;
    }
    return info;
}

#pragma once

// Writing the library's XML: the one text and CDATA writer of every format, over Qt's stream
// writer or, for the definition export that builds a document model, over DomWriter.
//
// Texts lose the characters XML 1.0 cannot hold (control characters other than tab, line feed
// and carriage return, U+FFFE, U+FFFF, unpaired surrogates), so that a saved file always parses
// again: left in, they would make the whole file unreadable on the next load.

#include <QDomDocument>
#include <QString>
#include <QVector>

QString xmlSafe(const QString &text);

// A text element holding `value`.
template <class Writer>
void writeText(Writer &w, const QString &name, const QString &value)
{
    w.writeTextElement(name, xmlSafe(value));
}

// An element holding `value` as CDATA; a "]]>" in the text splits it into adjacent sections.
template <class Writer>
void writeCData(Writer &w, const QString &name, const QString &value)
{
    w.writeStartElement(name);
    w.writeCDATA(xmlSafe(value));
    w.writeEndElement();
}

// Builds a QDomDocument through the calls of QXmlStreamWriter that the writers above make.
class DomWriter
{
public:
    explicit DomWriter(QDomDocument &document) : m_document(document), m_open{document} {}

    void writeStartElement(const QString &name);
    void writeEndElement();
    void writeTextElement(const QString &name, const QString &text);
    // Two adjacent sections where the text holds "]]>", as QXmlStreamWriter writes it.
    void writeCDATA(const QString &text);

private:
    QDomDocument &m_document;
    QVector<QDomNode> m_open; // the document, then the elements started and not ended
};

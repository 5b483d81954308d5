// Database-query text items: the record's reader, content writer and copy. The item uses the
// common envelope; each of its own values is the text of one child element.

#include "scaFileFormat_p.h"
#include "scaFileProcessor.h"
#include "scaItemKinds_p.h"

using namespace PageXml;

namespace {

const int DbQueryTextItemKind = 5;

// Children of "Item" that the reader looks for, in writing order after the envelope; the enum
// indexes childName.
enum Child {
    GeometryChild, PropertiesChild, bgColor, txtColor, labelText, txtPixelSize, reportUnit,
    reportType, reportTag, updateInterval, timeFactor, labelStyleSheet, lofx, lofy, ChildCount
};
const QString childName[] = {
    Geometry, Properties,
    QStringLiteral("bgColor"), QStringLiteral("txtColor"), QStringLiteral("labelText"),
    QStringLiteral("txtPixelSize"), QStringLiteral("reportUnit"), QStringLiteral("reportType"),
    QStringLiteral("reportTag"), QStringLiteral("updateInterval"), QStringLiteral("timeFactor"),
    QStringLiteral("labelStyleSheet"), QStringLiteral("lofx"), QStringLiteral("lofy"),
};
static_assert(sizeof(childName) / sizeof(childName[0]) == ChildCount, "one name per Child");

const ElementNames &childNames()
{
    static const ElementNames names(childName, ChildCount);
    return names;
}

} // namespace

DbQueryTextItemLoadData_t *ScaFileProcessor::dbqTextItemFromXML(QDomElement *item)
{
    // A missing element leaves the new record's value (the defaults are the record's); a
    // present but empty one gives an empty text or 0.
    auto *r = new DbQueryTextItemLoadData_t;
    const ChildElements c(item ? *item : QDomElement(), childNames());
    readEnvelope(c[GeometryChild], c[PropertiesChild], r->base, DbQueryTextItemKind);

    r->bgColor = textOf(c[bgColor], r->bgColor);
    r->txtColor = textOf(c[txtColor], r->txtColor);
    r->labelText = textOf(c[labelText], r->labelText);
    r->txtPixelSize = intOf(c[txtPixelSize], r->txtPixelSize);
    r->reportUnit = intOf(c[reportUnit], r->reportUnit);
    r->reportType = intOf(c[reportType], r->reportType);
    r->reportTag = intOf(c[reportTag], r->reportTag);
    r->updateInterval = intOf(c[updateInterval], r->updateInterval);
    r->timeFactor = intOf(c[timeFactor], r->timeFactor);
    r->labelStyleSheet = textOf(c[labelStyleSheet], r->labelStyleSheet);
    r->lofx = intOf(c[lofx], r->lofx);
    r->lofy = intOf(c[lofy], r->lofy);
    return r;
}

void writeDbQueryTextItem(QXmlStreamWriter &w, const DbQueryTextItemLoadData_t &r)
{
    writeEnvelope(w, *r.base);
    writeText(w, childName[bgColor], r.bgColor);
    writeText(w, childName[txtColor], r.txtColor);
    writeText(w, childName[labelText], r.labelText);
    writeInt(w, childName[txtPixelSize], r.txtPixelSize);
    writeInt(w, childName[reportUnit], r.reportUnit);
    writeInt(w, childName[reportType], r.reportType);
    writeInt(w, childName[reportTag], r.reportTag);
    writeInt(w, childName[updateInterval], r.updateInterval);
    writeInt(w, childName[timeFactor], r.timeFactor);
    writeText(w, childName[labelStyleSheet], r.labelStyleSheet);
    writeInt(w, childName[lofx], r.lofx);
    writeInt(w, childName[lofy], r.lofy);
}

void copyDbQueryTextItemData(DbQueryTextItemLoadData_t *target,
                             const DbQueryTextItemLoadData_t *source)
{
    copyRecordFields(target, source);
}

#pragma once
// One line per field of a page and its item records ("scadaObjects[1].Tooltip=..."), so that a
// whole page is compared in one go and a failure names the field that differs.
#include <scaFileData.h>

#include <QStringList>
#include <QtTest>

#include <algorithm>

namespace pagedump {

inline QString num(qint64 v) { return QString::number(v); }
inline QString unum(quint64 v) { return QString::number(v); }
inline QString real(double v) { return QString::number(v, 'g', 9); }
inline QString flag(bool v) { return v ? QStringLiteral("true") : QStringLiteral("false"); }
inline QString text(const QString &s) { return QLatin1Char('"') + s + QLatin1Char('"'); }
inline QString ints(const QList<int> &list)
{
    QStringList parts;
    for (int v : list)
        parts << QString::number(v);
    return QLatin1Char('{') + parts.join(QLatin1Char(',')) + QLatin1Char('}');
}

inline QStringList prefixed(const QString &prefix, const QStringList &lines)
{
    QStringList out;
    for (const QString &line : lines)
        out << prefix + line;
    return out;
}

inline QStringList dump(const ItemBaseData_t &b)
{
    return {
        "X=" + num(b.X), "Y=" + num(b.Y), "W=" + num(b.W), "H=" + num(b.H),
        "ZVAL=" + num(b.ZVAL), "GZVAL=" + num(b.GZVAL), "Rot=" + num(b.Rot),
        "HFlip=" + flag(b.HFlip), "VFlip=" + flag(b.VFlip), "GroupId=" + unum(b.GroupId),
        "LayerId=" + unum(b.LayerId), "Name=" + text(b.Name), "itemKind=" + num(b.itemKind),
    };
}

// Every field but `base`.
inline QStringList dumpFields(const ScadaObjectLoadData_t &o)
{
    QList<int> extra;
    for (int v : o.extraTagIds)
        extra << v;
    QStringList lines = {
        "auxInt1=" + num(o.auxInt1), "auxInt2=" + num(o.auxInt2), "Type=" + num(o.Type),
        "Uid=" + num(o.Uid), "auxFloat1=" + real(o.auxFloat1), "auxFloat2=" + real(o.auxFloat2),
        "auxFloat3=" + real(o.auxFloat3), "tagID_image=" + num(o.tagID_image),
        "tagID_label=" + num(o.tagID_label), "tagID_posx=" + num(o.tagID_posx),
        "tagID_posy=" + num(o.tagID_posy), "tagID_width=" + num(o.tagID_width),
        "tagID_height=" + num(o.tagID_height), "tagID_rotAng=" + num(o.tagID_rotAng),
        "tagID_txtColor=" + num(o.tagID_txtColor), "tagID_maskColor=" + num(o.tagID_maskColor),
        "tagID_maskOpac=" + num(o.tagID_maskOpac), "tagID_cusProp1=" + num(o.tagID_cusProp1),
        "tagID_cusProp2=" + num(o.tagID_cusProp2), "tagID_cusProp3=" + num(o.tagID_cusProp3),
        "tagID_cusProp4=" + num(o.tagID_cusProp4), "tagID_cusProp5=" + num(o.tagID_cusProp5),
        "tagID_cusProp6=" + num(o.tagID_cusProp6), "tagID_cusProp7=" + num(o.tagID_cusProp7),
        "tagID_eventTarget=" + num(o.tagID_eventTarget), "extraTagIds=" + ints(extra),
        "eventType=" + num(o.eventType), "eventAction=" + num(o.eventAction),
        "eventActionAck=" + flag(o.eventActionAck), "lofx=" + num(o.lofx), "lofy=" + num(o.lofy),
        "labelText=" + text(o.labelText), "labelStyleSheet=" + text(o.labelStyleSheet),
        "userConst1=" + num(o.userConst1), "userConst2=" + num(o.userConst2),
        "pageFunction=" + text(o.pageFunction), "showChildAlarms=" + flag(o.showChildAlarms),
        "closeWindowOnClicked=" + flag(o.closeWindowOnClicked), "auxText=" + text(o.auxText),
        "MacroText=" + text(o.MacroText), "Tooltip=" + text(o.Tooltip),
        "weblinkActive=" + flag(o.weblinkActive), "weblink=" + text(o.weblink),
        "limitsActive=" + flag(o.limitsActive), "lowLimit=" + real(o.lowLimit),
        "highLimit=" + real(o.highLimit), "auxEntries.size=" + num(o.auxEntries.size()),
    };
    for (int i = 0; i < o.auxEntries.size(); ++i) {
        const AuxDataEntry *e = o.auxEntries.at(i);
        const QString p = QStringLiteral("auxEntries[%1].").arg(i);
        if (!e) {
            lines << p + "null";
            continue;
        }
        lines << p + "data=" + (e->data ? text(QString::fromLatin1(e->data->toHex())) : "null")
              << p + "text=" + text(e->text) << p + "value=" + num(e->value);
    }
    lines << "componentUid=" + text(o.componentUid) << "indexOrder=" + ints(o.indexOrder);
    return lines;
}

inline QStringList dump(const ScadaObjectLoadData_t &o)
{
    return prefixed("base.", dump(*o.base)) + dumpFields(o);
}

inline QString color(const QColor &c)
{
    return c.isValid() ? c.name(QColor::HexArgb) : QStringLiteral("invalid");
}
inline QString reals(const QList<double> &list)
{
    QStringList parts;
    for (double v : list)
        parts << real(v);
    return QLatin1Char('{') + parts.join(QLatin1Char(',')) + QLatin1Char('}');
}

// Every field but `base`, for each further kind; dump() adds the base record.
inline QStringList dumpFields(const TextItemLoadData_t &t)
{
    return {
        "ItemText=" + text(t.ItemText), "TextColor=" + text(t.TextColor),
        "BgColor=" + text(t.BgColor), "SvgElement=" + text(t.SvgElement),
        "Alignment=" + num(t.Alignment), "TextPixelSize=" + num(t.TextPixelSize),
        "Family=" + text(t.Family), "IsBold=" + flag(t.IsBold), "IsItalic=" + flag(t.IsItalic),
        "IsUnderlined=" + flag(t.IsUnderlined), "DrawPaper=" + flag(t.DrawPaper),
    };
}

inline QStringList dumpFields(const DbQueryTextItemLoadData_t &d)
{
    return {
        "bgColor=" + text(d.bgColor), "txtColor=" + text(d.txtColor),
        "labelText=" + text(d.labelText), "labelStyleSheet=" + text(d.labelStyleSheet),
        "lofx=" + num(d.lofx), "lofy=" + num(d.lofy), "txtPixelSize=" + num(d.txtPixelSize),
        "auxFlag1=" + flag(d.auxFlag1), "auxFlag2=" + flag(d.auxFlag2),
        "auxFlag3=" + flag(d.auxFlag3), "auxValue=" + num(d.auxValue),
        "reportUnit=" + num(d.reportUnit), "reportType=" + num(d.reportType),
        "timeFactor=" + num(d.timeFactor), "updateInterval=" + num(d.updateInterval),
        "reportTag=" + num(d.reportTag),
    };
}

inline QStringList dumpFields(const RealTimeChartItemLoadData_t &c)
{
    QStringList lines = {"TagIDs.size=" + num(c.TagIDs.size())};
    for (int i = 0; i < c.TagIDs.size(); ++i) {
        const TagData &t = c.TagIDs.at(i);
        lines << QStringLiteral("TagIDs[%1]=Tag %2,aux %3/%4,LineColor %5,LineStyle %6")
                         .arg(i).arg(t.Tag).arg(t.auxValue1).arg(t.auxValue2)
                         .arg(text(t.LineColor)).arg(t.LineStyle);
    }
    lines << "BgColor=" + text(c.BgColor) << "TxtColor=" + text(c.TxtColor)
          << "PaColor=" + text(c.PaColor) << "ChartTitle=" + text(c.ChartTitle)
          << "ChartViewType=" + num(c.ChartViewType) << "ChartType=" + num(c.ChartType)
          << "ChartOrientation=" + num(c.ChartOrientation)
          << "LegendAlignment=" + num(c.LegendAlignment)
          << "ShowDescription=" + flag(c.ShowDescription) << "IsAnimated=" + flag(c.IsAnimated)
          << "ShowLegend=" + flag(c.ShowLegend) << "FollowLastVal=" + flag(c.FollowLastVal)
          << "RescaleValAxis=" + flag(c.RescaleValAxis)
          << "ShowLastSeconds=" + num(c.ShowLastSeconds) << "UpperLimit=" + num(c.UpperLimit)
          << "LowerLimit=" + num(c.LowerLimit) << "LegendFontSize=" + num(c.LegendFontSize)
          << "AxisFontSize=" + num(c.AxisFontSize);
    return lines;
}

inline QStringList dumpFields(const GaugeItemLoadData_t &g)
{
    return {
        "auxValue=" + num(g.auxValue), "GaugeStyle=" + num(g.GaugeStyle),
        "MaxValue=" + real(g.MaxValue), "MinValue=" + real(g.MinValue),
        "Precision=" + num(g.Precision), "PrecisionNumeric=" + num(g.PrecisionNumeric),
        "Tooltip=" + text(g.Tooltip), "Units=" + text(g.Units), "Label=" + text(g.Label),
        "Steps=" + num(g.Steps), "StartAngle=" + real(g.StartAngle),
        "EndAngle=" + real(g.EndAngle), "Threshold=" + real(g.Threshold),
        "ThresholdEnabled=" + flag(g.ThresholdEnabled),
        "NumericIndicatorEnabled=" + flag(g.NumericIndicatorEnabled),
        "Foreground=" + color(g.Foreground),
        "auxBrush=" + num(g.auxBrush.style()) + "/" + color(g.auxBrush.color()),
        "Background1=" + color(g.Background1), "Background2=" + color(g.Background2),
        "LedColor=" + color(g.LedColor), "LedGlowColor=" + color(g.LedGlowColor),
        "TagId=" + num(g.TagId),
    };
}

inline QStringList dump(const TableCell &c)
{
    return {"cellText=" + text(c.cellText), "cellFont=" + text(c.cellFont.toString()),
            "cellTextColor=" + color(c.cellTextColor), "cellRowSpan=" + num(c.cellRowSpan),
            "cellColumnSpan=" + num(c.cellColumnSpan),
            "cellTextAlignment=" + num(c.cellTextAlignment)};
}

inline QStringList dumpFields(const TableItemLoadData_t &t)
{
    QStringList lines = {"rows.size=" + num(t.rows.size())};
    for (int i = 0; i < t.rows.size(); ++i) {
        const QList<TableCell> &row = t.rows.at(i);
        lines << QStringLiteral("rows[%1].size=%2").arg(i).arg(row.size());
        for (int j = 0; j < row.size(); ++j)
            lines += prefixed(QStringLiteral("rows[%1][%2].").arg(i).arg(j), dump(row.at(j)));
    }
    lines << "TableWidth=" + num(t.TableWidth) << "TableHeight=" + num(t.TableHeight)
          << "StyleSheet=" + text(t.StyleSheet) << "columnWidths=" + reals(t.columnWidths)
          << "auxList=" + ints(t.auxList);
    return lines;
}

inline QStringList dumpFields(const ImageItemLoadData_t &i)
{
    return {"auxValue1=" + num(i.auxValue1), "auxValue2=" + num(i.auxValue2),
            "auxValue3=" + num(i.auxValue3), "auxFlag=" + flag(i.auxFlag),
            "auxText1=" + text(i.auxText1), "auxValue4=" + num(i.auxValue4),
            "auxText2=" + text(i.auxText2), "ImageFile=" + text(i.ImageFile)};
}

inline QStringList dumpFields(const WebFrameItemLoadData_t &w)
{
    return {"auxValue1=" + num(w.auxValue1), "auxValue2=" + num(w.auxValue2),
            "auxValue3=" + num(w.auxValue3), "auxFlag=" + flag(w.auxFlag),
            "auxText1=" + text(w.auxText1), "auxValue4=" + num(w.auxValue4),
            "Weblink=" + text(w.Weblink), "auxText2=" + text(w.auxText2)};
}

inline QStringList dumpFields(const ScheduleItemLoadData_t &s)
{
    return {"TagIDs=" + ints(s.TagIDs)};
}

// Every record kind has its dumpFields above; a kind without one does not compile here.
template <class Record>
QStringList dump(const Record &r)
{
    return prefixed("base.", dump(*r.base)) + dumpFields(r);
}

template <class Record>
QStringList dumpList(const QString &name, const QList<Record *> &records)
{
    QStringList lines = {name + ".size=" + num(records.size())};
    for (int i = 0; i < records.size(); ++i) {
        const QString p = QStringLiteral("%1[%2].").arg(name).arg(i);
        lines += records.at(i) ? prefixed(p, dump(*records.at(i))) : QStringList(p + "null");
    }
    return lines;
}

inline QStringList dump(const LayerInfo &l)
{
    return {"name=" + text(l.name), "id=" + unum(l.id), "visible=" + flag(l.visible),
            "param4=" + num(l.param4), "param5=" + num(l.param5)};
}

inline QStringList dump(const ScaFileData::PageProperties &p)
{
    QStringList lines = {
        "auxValue=" + num(p.auxValue), "pageName=" + text(p.pageName),
        "fileName=" + text(p.fileName), "relativePath=" + text(p.relativePath),
        "pageID=" + num(p.pageID), "auxPageId=" + num(p.auxPageId),
        "pageGeometry=" + num(p.pageGeometry.width()) + "x" + num(p.pageGeometry.height()),
        "pageBgImage=" + text(p.pageBgImage), "pageIcon=" + text(p.pageIcon),
        "pageType=" + num(p.pageType), "geoView=" + flag(p.geoView), "geoData=" + text(p.geoData),
        "markerCategories=" + text(p.markerCategories), "geoCenterPos=" + text(p.geoCenterPos),
        "customPageSize=" + flag(p.customPageSize), "addScrollingText=" + flag(p.addScrollingText),
        "pageAccessRights=" + num(p.pageAccessRights),
        "pageAccessRights2=" + num(p.pageAccessRights2), "scaleToWindow=" + num(p.scaleToWindow),
        "scrollTags.size=" + num(p.scrollTags.size()),
    };
    for (int i = 0; i < p.scrollTags.size(); ++i)
        lines << QStringLiteral("scrollTags[%1]=%2,%3").arg(i).arg(p.scrollTags.at(i).TagID)
                         .arg(text(p.scrollTags.at(i).ScrollText));
    lines << "auxPageList=" + ints(p.auxPageList);
    return lines;
}

inline QStringList dump(const ScaFileData &page)
{
    QStringList lines;
    lines += dumpList("scadaObjects", page.scadaObjects);
    lines += dumpList("textItems", page.textItems);
    lines += dumpList("scheduleItems", page.scheduleItems);
    lines += dumpList("rtChartItems", page.rtChartItems);
    lines += dumpList("dbqTextItems", page.dbqTextItems);
    lines += dumpList("tableItems", page.tableItems);
    lines += dumpList("gaugeItems", page.gaugeItems);
    lines += dumpList("imageItems", page.imageItems);
    lines += dumpList("webFrameItems", page.webFrameItems);
    lines << "labelTagIds=" + ints(page.labelTagIds);
    QStringList keys = page.templateTagIdsInUse.keys();
    std::sort(keys.begin(), keys.end());
    for (const QString &key : keys) {
        QStringList ids;
        for (const QVariant &v : page.templateTagIdsInUse.value(key).toList())
            ids << v.toString();
        lines << "templateTagIdsInUse[" + key + "]={" + ids.join(',') + '}';
    }
    lines << "pageFunctionLinks={" + page.pageFunctionLinks.join(QStringLiteral("|")) + '}';
    lines << "auxList=" + ints(page.auxList) << "layerIds=" + ints(page.layerIds);
    for (int i = 0; i < page.layers.size(); ++i)
        lines += prefixed(QStringLiteral("layers[%1].").arg(i), dump(page.layers.at(i)));
    lines << "auxFlag1=" + flag(page.auxFlag1) << "auxFlag2=" + flag(page.auxFlag2);
    lines += prefixed("pageProperties.", dump(page.pageProperties));
    lines << "auxFlag3=" + flag(page.auxFlag3) << "auxFlag4=" + flag(page.auxFlag4);
    return lines;
}

// Deletes a page together with every item record it holds.
inline void deletePage(ScaFileData *page)
{
    if (!page)
        return;
    page->erase();
    qDeleteAll(page->textItems);
    qDeleteAll(page->scheduleItems);
    qDeleteAll(page->rtChartItems);
    qDeleteAll(page->dbqTextItems);
    qDeleteAll(page->tableItems);
    qDeleteAll(page->gaugeItems);
    qDeleteAll(page->imageItems);
    qDeleteAll(page->webFrameItems);
    delete page;
}

} // namespace pagedump

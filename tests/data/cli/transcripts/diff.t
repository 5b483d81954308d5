$ cp $DATA/diff/*.xml .

# Same records in other bytes; one edit, between two files.
$ tirrel diff page.xml page-compact.xml
$ sed 's/X="140"/X="180"/' page.xml > moved.xml && tirrel diff page.xml moved.xml
~ ScadaObject #1 "Valve" (Uid 12)
    base.X: 140 -> 180
[exit 1]

# Each kind of change, each file made from the fixture by one edit, compared in one folder run.
$ mkdir old new && for f in uid renamed list added removed text property scroll layer; do cp page.xml old/$f.xml; done && for f in tag8 tagtype added-tag removed-tag renumbered channel alarm; do cp defs.xml old/$f-defs.xml; done
$ sed 's/Uid="12"/Uid="13"/' page.xml > new/uid.xml && sed 's/Name="Title"/Name="Heading"/' page.xml > new/renamed.xml && sed 's/#0000FF/#00FF00/' page.xml > new/list.xml && sed '/images\/missing.png/{n;s|$|\n<Item><ItemType>ImageItem</ItemType><Geometry X="20" Y="150" W="50" H="50"/><Properties Name="Badge" LayerId="1"/></Item>|}' page.xml > new/added.xml && sed 's/<ItemType>ImageItem</<ItemType>Unknown</' page.xml > new/removed.xml
$ sed "s/\[CDATA\[note\]\]/[CDATA[no\tte$(printf '%070d' 0 | tr 0 a)]]/" page.xml > new/text.xml && sed 's/>Pumps</>Pump house</' page.xml > new/property.xml && sed 's/ScrollText="Level"/ScrollText="Well"/' page.xml > new/scroll.xml && sed 's/2,Labels,1/2,Labels,0/' page.xml > new/layer.xml
$ flow='<Name>Flow</Name><Id>102</Id><PollFrequency>1000</PollFrequency>' && sed "s|$flow|${flow/1000/500}|" defs.xml > new/tag8-defs.xml && sed "s|$flow|$flow<TagType>-56</TagType>|" defs.xml > new/tagtype-defs.xml && sed 's|</TagList>|<Tag><Name>Spare</Name><Id>103</Id></Tag></TagList>|' defs.xml > new/added-tag-defs.xml && sed "\|$flow|d" defs.xml > new/removed-tag-defs.xml
$ sed 's|<Id>102</Id>|<Id>104</Id>|' defs.xml > new/renumbered-defs.xml && sed 's/<ServerIP>10.0.0.2</<ServerIP>10.0.0.3</' defs.xml > new/channel-defs.xml && sed 's|<Id>2</Id><alarm_name>FAL|<Id>7</Id><alarm_name>FAL|' defs.xml > new/alarm-defs.xml && tirrel diff old new
~ added-tag-defs.xml (definition file)
    + tag 103 "Spare"
~ added.xml (page file)
    + ImageItem #1 "Badge"
~ alarm-defs.xml (definition file)
    ~ alarm "FAL" (id 7)
        Id: 2 -> 7
~ channel-defs.xml (definition file)
    ~ channel 1 "PLC"
        ServerIP: "10.0.0.2" -> "10.0.0.3"
~ layer.xml (page file)
    ~ layer 2 "Labels"
        visible: true -> false
~ list.xml (page file)
    ~ RTChartItem #0 "Trend"
        TagIDs[1].LineColor: "#0000FF" -> "#00FF00"
~ property.xml (page file)
    ~ page properties
        pageName: "Pumps" -> "Pump house"
~ removed-tag-defs.xml (definition file)
    - tag 102 "Flow"
~ removed.xml (page file)
    - ImageItem #0 "Logo"
~ renamed.xml (page file)
    ~ TextItem #0 "Heading"
        base.Name: "Title" -> "Heading"
~ renumbered-defs.xml (definition file)
    + tag 104 "Flow"
    - tag 102 "Flow"
~ scroll.xml (page file)
    ~ page properties
        scrollTags[0].ScrollText: "Level" -> "Well"
~ tag8-defs.xml (definition file)
    ~ tag 102 "Flow"
        PollFrequency: 1000 -> 500
~ tagtype-defs.xml (definition file)
    ~ tag 102 "Flow"
        TagType: 0 -> -56
~ text.xml (page file)
    ~ TextItem #1
        ItemText: "note" -> "no\tteaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa"... (75 characters)
~ uid.xml (page file)
    + ScadaObject #1 "Valve" (Uid 13)
    - ScadaObject #1 "Valve" (Uid 12)
[exit 1]

# Folders: pages paired by their path, other files left out, a name that is not valid UTF-8
# compared by its bytes; the JSON form and the pictures once.
$ mkdir -p a/pages b/pages && cp page.xml a/pages/a.xml && cp page.xml a/pages/b.xml && cp defs.xml a/defs.xml && echo old > a/logo.png && sed 's/>Pumps</>Pump house</' page.xml > b/pages/a.xml && cp page.xml b/pages/c.xml && cp page-compact.xml b/defs.xml && echo new > b/logo.png && cp page.xml a/$'odd\xff.xml' && sed 's/>Pumps</>Odd</' page.xml > b/$'odd\xff.xml' && tirrel diff a b
- defs.xml (definition file)
+ defs.xml (page file)
~ "odd\xff.xml" (page file)
    ~ page properties
        pageName: "Pumps" -> "Odd"
~ pages/a.xml (page file)
    ~ page properties
        pageName: "Pumps" -> "Pump house"
- pages/b.xml (page file)
+ pages/c.xml (page file)
[exit 1]
$ tirrel diff --json --render pictures a b | json && ls pictures/pages && rm a/odd* b/odd*
{ "complete": true, "equal": false, "files": [ { "change": "removed", "kind": "definition file", "path": "defs.xml" },
{ "change": "added", "kind": "page file", "path": "defs.xml", "picture": "pictures/defs.png" },
{ "change": "changed", "changes": [ { "change": "changed", "fields": [ { "field": "pageName", "new": "Odd", "old": "Pumps" } ], "label": "page properties", "record": "pageProperties" } ], "kind": "page file", "path": "odd\\xff.xml", "picture": "pictures/odd\\xff.png" },
{ "change": "changed", "changes": [ { "change": "changed", "fields": [ { "field": "pageName", "new": "Pump house", "old": "Pumps" } ], "label": "page properties", "record": "pageProperties" } ], "kind": "page file", "path": "pages/a.xml", "picture": "pictures/pages/a.png" },
{ "change": "removed", "kind": "page file", "path": "pages/b.xml" },
{ "change": "added", "kind": "page file", "path": "pages/c.xml", "picture": "pictures/pages/c.png" } ], "new": "b", "old": "a"}
[exit 1]

# Errors exit 2.
$ tirrel diff page.xml defs.xml
! tirrel diff: page.xml is a page file and defs.xml a definition file: only files of one kind are compared
[exit 2]
$ tirrel diff $DATA/diff page.xml
! tirrel diff: $DATA/diff is a folder and page.xml is not: compare two files or two folders
! See 'tirrel diff --help'.
[exit 2]
$ tirrel diff page.xml none.xml
! tirrel diff: none.xml cannot be read: no such file
[exit 2]
$ tirrel diff page.xml $DATA/csv/tags.csv
! tirrel diff: $DATA/csv/tags.csv is not XML, so not a page file
[exit 2]
$ tirrel diff page.xml moved.xml --render moved.xml
! tirrel diff: --render would write over moved.xml, which is compared
! See 'tirrel diff --help'.
[exit 2]
$ tirrel diff defs.xml defs.xml --render x.png
! tirrel diff: --render draws pages, and these are definition files
[exit 2]

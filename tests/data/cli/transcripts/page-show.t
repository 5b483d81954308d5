$ cp $DATA/cli/files/* $DATA/cli/audit/* .

# The demo's pages: one as text, all as JSON.
$ cd $DEMO && tirrel page show pages/overview.xml
pages/overview.xml
  page:         Plant overview (id 1, type 0)
  size:         1280 x 800 (custom size)
  background:   images/overview-background.png
  scrolling:    on, 3 scroll tags
  layers:       3
    1  Background
    2  Process
    3  Labels
  items:        14
    ScadaObject   9
    TextItem      4
    ScheduleItem  0
    RTChartItem   0
    DbqTextItem   0
    TableItem     0
    ImageItem     1
    GaugeItem     0
    WebFrameItem  0
  tag bindings: 18 (13 tags)
       101  ScadaObject #0 "Intake well" (Uid 1001), tagID_image
       101  ScadaObject #0 "Intake well" (Uid 1001), tagID_label
       102  ScadaObject #1 "Pump P-101" (Uid 1002), tagID_image
       104  ScadaObject #1 "Pump P-101" (Uid 1002), tagID_label
       103  ScadaObject #1 "Pump P-101" (Uid 1002), tagID_txtColor
       105  ScadaObject #2 "Pump P-102" (Uid 2102), tagID_image
       107  ScadaObject #2 "Pump P-102" (Uid 2102), tagID_label
       106  ScadaObject #2 "Pump P-102" (Uid 2102), tagID_txtColor
       211  ScadaObject #3 "Filter F-201" (Uid 1004), tagID_image
       207  ScadaObject #3 "Filter F-201" (Uid 1004), tagID_label
       212  ScadaObject #4 "Filter F-202" (Uid 1005), tagID_image
       208  ScadaObject #4 "Filter F-202" (Uid 1005), tagID_label
       301  ScadaObject #5 "Reservoir" (Uid 1006), tagID_image
       301  ScadaObject #5 "Reservoir" (Uid 1006), tagID_label
       301  ScadaObject #5 "Reservoir" (Uid 1006), tagID_height
       101  scroll tag #0 "Intake well level", TagID
       301  scroll tag #1 "Reservoir level", TagID
       203  scroll tag #2 "Chlorine residual", TagID
  tag ids:      101 102 103 104 105 106 107 203 207 208 211 212 301
  not kept:     0
  coerced:      0
$ cd $DEMO && tirrel page show --json pages/*.xml | json
[ { "addScrollingText": false, "bindings": [ { "itemIndex": 0, "itemName": "Backwash schedule", "itemType": "ScheduleItem", "slot": "TagIDs[0]", "tagId": 211 },
{ "itemIndex": 0, "itemName": "Backwash schedule", "itemType": "ScheduleItem", "slot": "TagIDs[1]", "tagId": 212 },
{ "itemIndex": 0, "itemName": "Raw water today", "itemType": "DbqTextItem", "slot": "reportTag", "tagId": 108 },
{ "itemIndex": 1, "itemName": "Delivered today", "itemType": "DbqTextItem", "slot": "reportTag", "tagId": 308 },
{ "itemIndex": 2, "itemName": "Hypochlorite today", "itemType": "DbqTextItem", "slot": "reportTag", "tagId": 210 } ], "coerced": 0, "customPageSize": true, "file": "pages/daily-report.xml", "findings": [ ], "geoView": false, "height": 800, "itemCount": 8, "items": { "DbqTextItem": 3, "GaugeItem": 0, "ImageItem": 1, "RTChartItem": 0, "ScadaObject": 0, "ScheduleItem": 1, "TableItem": 1, "TextItem": 1, "WebFrameItem": 1 },
"layers": [ { "id": 1, "name": "Report", "visible": true } ], "notKept": 0, "pageBgImage": "", "pageID": 5, "pageName": "Daily report", "pageType": 0, "tagIds": [ 108, 210, 211, 212, 308 ], "width": 1280 },
{ "addScrollingText": false, "bindings": [ { "itemIndex": 0, "itemName": "Intake well LT-101", "itemType": "ScadaObject", "slot": "tagID_image", "tagId": 101, "uid": 2101 },
{ "itemIndex": 0, "itemName": "Intake well LT-101", "itemType": "ScadaObject", "slot": "tagID_label", "tagId": 101, "uid": 2101 },
{ "itemIndex": 0, "itemName": "Intake well LT-101", "itemType": "ScadaObject", "slot": "tagID_height", "tagId": 101, "uid": 2101 },
{ "itemIndex": 1, "itemName": "Pump P-101", "itemType": "ScadaObject", "slot": "tagID_image", "tagId": 102, "uid": 2100 },
{ "itemIndex": 1, "itemName": "Pump P-101", "itemType": "ScadaObject", "slot": "tagID_label", "tagId": 104, "uid": 2100 },
{ "itemIndex": 1, "itemName": "Pump P-101", "itemType": "ScadaObject", "slot": "tagID_txtColor", "tagId": 103, "uid": 2100 },
{ "itemIndex": 1, "itemName": "Pump P-101", "itemType": "ScadaObject", "slot": "tagID_eventTarget", "tagId": 102, "uid": 2100 },
{ "itemIndex": 1, "itemName": "Pump P-101", "itemType": "ScadaObject", "slot": "tagID_cusProp1", "tagId": 112, "uid": 2100 },
{ "itemIndex": 2, "itemName": "Pump P-102", "itemType": "ScadaObject", "slot": "tagID_image", "tagId": 105, "uid": 2102 },
{ "itemIndex": 2, "itemName": "Pump P-102", "itemType": "ScadaObject", "slot": "tagID_label", "tagId": 107, "uid": 2102 },
{ "itemIndex": 2, "itemName": "Pump P-102", "itemType": "ScadaObject", "slot": "tagID_txtColor", "tagId": 106, "uid": 2102 },
{ "itemIndex": 2, "itemName": "Pump P-102", "itemType": "ScadaObject", "slot": "tagID_eventTarget", "tagId": 105, "uid": 2102 },
{ "itemIndex": 3, "itemName": "Flow meter FT-101", "itemType": "ScadaObject", "slot": "tagID_label", "tagId": 108, "uid": 2103 },
{ "itemIndex": 4, "itemName": "Pressure PT-101", "itemType": "ScadaObject", "slot": "tagID_label", "tagId": 109, "uid": 2104 },
{ "itemIndex": 5, "itemName": "Inlet valve XV-101", "itemType": "ScadaObject", "slot": "tagID_image", "tagId": 110, "uid": 2105 },
{ "itemIndex": 5, "itemName": "Inlet valve XV-101", "itemType": "ScadaObject", "slot": "tagID_maskColor", "tagId": 111, "uid": 2105 },
{ "itemIndex": 0, "itemName": "Intake trend", "itemType": "RTChartItem", "slot": "TagIDs[0]", "tagId": 101 },
{ "itemIndex": 0, "itemName": "Intake trend", "itemType": "RTChartItem", "slot": "TagIDs[1]", "tagId": 108 },
{ "itemIndex": 0, "itemName": "Discharge pressure", "itemType": "GaugeItem", "slot": "TagId", "tagId": 109 } ], "coerced": 0, "customPageSize": true, "file": "pages/intake.xml", "findings": [ ], "geoView": false, "height": 800, "itemCount": 10, "items": { "DbqTextItem": 0, "GaugeItem": 1, "ImageItem": 0, "RTChartItem": 1, "ScadaObject": 6, "ScheduleItem": 0, "TableItem": 0, "TextItem": 2, "WebFrameItem": 0 },
"layers": [ { "id": 1, "name": "Process", "visible": true },
{ "id": 2, "name": "Trends", "visible": true },
{ "id": 3, "name": "Labels", "visible": true } ], "notKept": 0, "pageBgImage": "", "pageID": 2, "pageName": "Intake pump station", "pageType": 0, "tagIds": [ 101, 102, 103, 104, 105, 106, 107, 108, 109, 110, 111, 112 ], "width": 1280 },
{ "addScrollingText": true, "bindings": [ { "itemIndex": 0, "itemName": "Intake well", "itemType": "ScadaObject", "slot": "tagID_image", "tagId": 101, "uid": 1001 },
{ "itemIndex": 0, "itemName": "Intake well", "itemType": "ScadaObject", "slot": "tagID_label", "tagId": 101, "uid": 1001 },
{ "itemIndex": 1, "itemName": "Pump P-101", "itemType": "ScadaObject", "slot": "tagID_image", "tagId": 102, "uid": 1002 },
{ "itemIndex": 1, "itemName": "Pump P-101", "itemType": "ScadaObject", "slot": "tagID_label", "tagId": 104, "uid": 1002 },
{ "itemIndex": 1, "itemName": "Pump P-101", "itemType": "ScadaObject", "slot": "tagID_txtColor", "tagId": 103, "uid": 1002 },
{ "itemIndex": 2, "itemName": "Pump P-102", "itemType": "ScadaObject", "slot": "tagID_image", "tagId": 105, "uid": 2102 },
{ "itemIndex": 2, "itemName": "Pump P-102", "itemType": "ScadaObject", "slot": "tagID_label", "tagId": 107, "uid": 2102 },
{ "itemIndex": 2, "itemName": "Pump P-102", "itemType": "ScadaObject", "slot": "tagID_txtColor", "tagId": 106, "uid": 2102 },
{ "itemIndex": 3, "itemName": "Filter F-201", "itemType": "ScadaObject", "slot": "tagID_image", "tagId": 211, "uid": 1004 },
{ "itemIndex": 3, "itemName": "Filter F-201", "itemType": "ScadaObject", "slot": "tagID_label", "tagId": 207, "uid": 1004 },
{ "itemIndex": 4, "itemName": "Filter F-202", "itemType": "ScadaObject", "slot": "tagID_image", "tagId": 212, "uid": 1005 },
{ "itemIndex": 4, "itemName": "Filter F-202", "itemType": "ScadaObject", "slot": "tagID_label", "tagId": 208, "uid": 1005 },
{ "itemIndex": 5, "itemName": "Reservoir", "itemType": "ScadaObject", "slot": "tagID_image", "tagId": 301, "uid": 1006 },
{ "itemIndex": 5, "itemName": "Reservoir", "itemType": "ScadaObject", "slot": "tagID_label", "tagId": 301, "uid": 1006 },
{ "itemIndex": 5, "itemName": "Reservoir", "itemType": "ScadaObject", "slot": "tagID_height", "tagId": 301, "uid": 1006 },
{ "itemIndex": 0, "itemName": "Intake well level", "itemType": "ScrollTags", "slot": "TagID", "tagId": 101 },
{ "itemIndex": 1, "itemName": "Reservoir level", "itemType": "ScrollTags", "slot": "TagID", "tagId": 301 },
{ "itemIndex": 2, "itemName": "Chlorine residual", "itemType": "ScrollTags", "slot": "TagID", "tagId": 203 } ], "coerced": 0, "customPageSize": true, "file": "pages/overview.xml", "findings": [ ], "geoView": false, "height": 800, "itemCount": 14, "items": { "DbqTextItem": 0, "GaugeItem": 0, "ImageItem": 1, "RTChartItem": 0, "ScadaObject": 9, "ScheduleItem": 0, "TableItem": 0, "TextItem": 4, "WebFrameItem": 0 },
"layers": [ { "id": 1, "name": "Background", "visible": true },
{ "id": 2, "name": "Process", "visible": true },
{ "id": 3, "name": "Labels", "visible": true } ], "notKept": 0, "pageBgImage": "images/overview-background.png", "pageID": 1, "pageName": "Plant overview", "pageType": 0, "tagIds": [ 101, 102, 103, 104, 105, 106, 107, 203, 207, 208, 211, 212, 301 ], "width": 1280 },
{ "addScrollingText": false, "bindings": [ { "itemIndex": 0, "itemName": "Reservoir", "itemType": "ScadaObject", "slot": "tagID_image", "tagId": 301, "uid": 4101 },
{ "itemIndex": 0, "itemName": "Reservoir", "itemType": "ScadaObject", "slot": "tagID_label", "tagId": 301, "uid": 4101 },
{ "itemIndex": 0, "itemName": "Reservoir", "itemType": "ScadaObject", "slot": "tagID_height", "tagId": 301, "uid": 4101 },
{ "itemIndex": 0, "itemName": "Reservoir", "itemType": "ScadaObject", "slot": "tagID_cusProp1", "tagId": 302, "uid": 4101 },
{ "itemIndex": 1, "itemName": "Outlet valve XV-301", "itemType": "ScadaObject", "slot": "tagID_image", "tagId": 305, "uid": 4102 },
{ "itemIndex": 1, "itemName": "Outlet valve XV-301", "itemType": "ScadaObject", "slot": "tagID_label", "tagId": 305, "uid": 4102 },
{ "itemIndex": 1, "itemName": "Outlet valve XV-301", "itemType": "ScadaObject", "slot": "tagID_rotAng", "tagId": 305, "uid": 4102 },
{ "itemIndex": 2, "itemName": "Outlet flow FT-301", "itemType": "ScadaObject", "slot": "tagID_label", "tagId": 303, "uid": 4103 },
{ "itemIndex": 3, "itemName": "Outlet pressure PT-301", "itemType": "ScadaObject", "slot": "tagID_label", "tagId": 304, "uid": 4104 },
{ "itemIndex": 4, "itemName": "RTU-301", "itemType": "ScadaObject", "slot": "tagID_image", "tagId": 307, "uid": 4105 },
{ "itemIndex": 4, "itemName": "RTU-301", "itemType": "ScadaObject", "slot": "tagID_label", "tagId": 306, "uid": 4105 },
{ "itemIndex": 4, "itemName": "RTU-301", "itemType": "ScadaObject", "slot": "tagID_cusProp2", "tagId": 310, "uid": 4105 },
{ "itemIndex": 0, "itemName": "Reservoir trend", "itemType": "RTChartItem", "slot": "TagIDs[0]", "tagId": 301 },
{ "itemIndex": 0, "itemName": "Reservoir trend", "itemType": "RTChartItem", "slot": "TagIDs[1]", "tagId": 303 },
{ "itemIndex": 0, "itemName": "Reservoir trend", "itemType": "RTChartItem", "slot": "TagIDs[2]", "tagId": 304 },
{ "itemIndex": 0, "itemName": "Outlet volume today", "itemType": "DbqTextItem", "slot": "reportTag", "tagId": 308 },
{ "itemIndex": 0, "itemName": "Reservoir level", "itemType": "GaugeItem", "slot": "TagId", "tagId": 301 } ], "coerced": 0, "customPageSize": true, "file": "pages/reservoir.xml", "findings": [ ], "geoView": true, "height": 800, "itemCount": 9, "items": { "DbqTextItem": 1, "GaugeItem": 1, "ImageItem": 0, "RTChartItem": 1, "ScadaObject": 5, "ScheduleItem": 0, "TableItem": 0, "TextItem": 1, "WebFrameItem": 0 },
"layers": [ { "id": 1, "name": "Process", "visible": true },
{ "id": 2, "name": "Trends", "visible": true } ], "notKept": 0, "pageBgImage": "", "pageID": 4, "pageName": "Clear water reservoir", "pageType": 0, "tagIds": [ 301, 302, 303, 304, 305, 306, 307, 308, 310 ], "width": 1280 },
{ "addScrollingText": false, "bindings": [ { "itemIndex": 0, "itemName": "Filter F-201", "itemType": "ScadaObject", "slot": "tagID_image", "tagId": 211, "uid": 3101 },
{ "itemIndex": 0, "itemName": "Filter F-201", "itemType": "ScadaObject", "slot": "tagID_label", "tagId": 205, "uid": 3101 },
{ "itemIndex": 0, "itemName": "Filter F-201", "itemType": "ScadaObject", "slot": "tagID_cusProp1", "tagId": 207, "uid": 3101 },
{ "itemIndex": 1, "itemName": "Filter F-202", "itemType": "ScadaObject", "slot": "tagID_image", "tagId": 212, "uid": 3102 },
{ "itemIndex": 1, "itemName": "Filter F-202", "itemType": "ScadaObject", "slot": "tagID_label", "tagId": 206, "uid": 3102 },
{ "itemIndex": 1, "itemName": "Filter F-202", "itemType": "ScadaObject", "slot": "tagID_cusProp1", "tagId": 208, "uid": 3102 },
{ "itemIndex": 2, "itemName": "Dosing pump DP-201", "itemType": "ScadaObject", "slot": "tagID_image", "tagId": 209, "uid": 3103 },
{ "itemIndex": 2, "itemName": "Dosing pump DP-201", "itemType": "ScadaObject", "slot": "tagID_label", "tagId": 210, "uid": 3103 },
{ "itemIndex": 3, "itemName": "Turbidity AT-201", "itemType": "ScadaObject", "slot": "tagID_label", "tagId": 201, "uid": 3104 },
{ "itemIndex": 4, "itemName": "Turbidity AT-202", "itemType": "ScadaObject", "slot": "tagID_label", "tagId": 202, "uid": 3105 },
{ "itemIndex": 5, "itemName": "Chlorine AT-203", "itemType": "ScadaObject", "slot": "tagID_label", "tagId": 203, "uid": 3106 },
{ "itemIndex": 5, "itemName": "Chlorine AT-203", "itemType": "ScadaObject", "slot": "tagID_maskOpac", "tagId": 203, "uid": 3106 },
{ "itemIndex": 6, "itemName": "pH AT-204", "itemType": "ScadaObject", "slot": "tagID_label", "tagId": 204, "uid": 3107 },
{ "itemIndex": 7, "itemName": "Plant mode", "itemType": "ScadaObject", "slot": "tagID_label", "tagId": 214, "uid": 3108 },
{ "itemIndex": 7, "itemName": "Plant mode", "itemType": "ScadaObject", "slot": "tagID_txtColor", "tagId": 214, "uid": 3108 },
{ "itemIndex": 8, "itemName": "Water temperature TT-201", "itemType": "ScadaObject", "slot": "tagID_label", "tagId": 213, "uid": 3109 },
{ "itemIndex": 0, "itemName": "Turbidity trend", "itemType": "RTChartItem", "slot": "TagIDs[0]", "tagId": 201 },
{ "itemIndex": 0, "itemName": "Turbidity trend", "itemType": "RTChartItem", "slot": "TagIDs[1]", "tagId": 202 },
{ "itemIndex": 0, "itemName": "Chlorine used today", "itemType": "DbqTextItem", "slot": "reportTag", "tagId": 210 },
{ "itemIndex": 0, "itemName": "Chlorine residual", "itemType": "GaugeItem", "slot": "TagId", "tagId": 203 },
{ "itemIndex": 1, "itemName": "pH", "itemType": "GaugeItem", "slot": "TagId", "tagId": 204 } ], "coerced": 0, "customPageSize": true, "file": "pages/treatment.xml", "findings": [ ], "geoView": false, "height": 800, "itemCount": 14, "items": { "DbqTextItem": 1, "GaugeItem": 2, "ImageItem": 0, "RTChartItem": 1, "ScadaObject": 9, "ScheduleItem": 0, "TableItem": 0, "TextItem": 1, "WebFrameItem": 0 },
"layers": [ { "id": 1, "name": "Process", "visible": true },
{ "id": 2, "name": "Trends", "visible": true },
{ "id": 4, "name": "Maintenance", "visible": false } ], "notKept": 0, "pageBgImage": "", "pageID": 3, "pageName": "Filtration and disinfection", "pageType": 0, "tagIds": [ 201, 202, 203, 204, 205, 206, 207, 208, 209, 210, 211, 212, 213, 214 ], "width": 1280 }]

# Every kind of file that is not a page, each named with its reason; the page among them is
# still shown.
$ : > empty.xml && echo '<scadaObjectTypes/>' > lib.xml && echo '<html/>' > other.xml && tirrel page show defs.xml half.xml small.xml empty.xml binary.png lib.xml other.xml missing.xml .
small.xml
  page:         Small (id 9, type 0)
  size:         250 x 150
  background:   -
  scrolling:    off, 0 scroll tags
  layers:       1
    0  New Layer_0
  items:        1
    ScadaObject   1
    TextItem      0
    ScheduleItem  0
    RTChartItem   0
    DbqTextItem   0
    TableItem     0
    ImageItem     0
    GaugeItem     0
    WebFrameItem  0
  tag bindings: 1 (1 tag)
         1  ScadaObject #0 "P" (Uid 5), tagID_label
  tag ids:      1
  not kept:     0
  coerced:      0
! tirrel page show: defs.xml is a definition file, not a page file
! tirrel page show: half.xml is not well-formed XML: line 5, column 18: unexpected end of file
! tirrel page show: empty.xml is empty, not a page file
! tirrel page show: binary.png is not XML, so not a page file
! tirrel page show: lib.xml is an object library file, not a page file
! tirrel page show: other.xml is not a page file: its root element is <html>
! tirrel page show: missing.xml cannot be read: no such file
! tirrel page show: . cannot be read: a folder, not a file
[exit 1]

# lossy.xml holds one of everything a page does not keep or coerces, undecodable.xml bytes that
# are no UTF-8; the JSON form lists kind, item, place and the text the file holds there.
$ tirrel page show --strict lossy.xml undecodable.xml
lossy.xml
  page:         Lossy (id 7, type 0)
  size:         250 x 150
  background:   -
  scrolling:    off, 0 scroll tags
  layers:       2
    1  New Layer_1
    0  New Layer_0
  items:        2
    ScadaObject   1
    TextItem      0
    ScheduleItem  0
    RTChartItem   0
    DbqTextItem   0
    TableItem     0
    ImageItem     0
    GaugeItem     1
    WebFrameItem  0
  tag bindings: 1 (1 tag)
         5  ScadaObject #0 "Pump" (Uid 0), tagID_image
  tag ids:      5
  not kept:     6
    items of unknown kind          1
    ignored elements               1
    duplicate elements             1
    ignored attributes             1
    root attributes                1
    comments                       1
  coerced:      7
    non-numeric values             1
    non-integer values             1
    out-of-range values            2
    NaNs                           1
    invalid colours                1
    texts with control characters  1

undecodable.xml
  page:         Caf� (id -1, type 0)
  size:         250 x 150
  background:   -
  scrolling:    off, 0 scroll tags
  layers:       0
  items:        0
    ScadaObject   0
    TextItem      0
    ScheduleItem  0
    RTChartItem   0
    DbqTextItem   0
    TableItem     0
    ImageItem     0
    GaugeItem     0
    WebFrameItem  0
  tag bindings: 0 (0 tags)
  tag ids:      -
  not kept:     0
  coerced:      1
    texts with undecodable bytes   1
! tirrel page show: lossy.xml: not kept: 1 item of unknown kind, 1 ignored element, 1 duplicate element, 1 ignored attribute, 1 root attribute, 1 comment; coerced: 1 non-numeric value, 1 non-integer value, 2 out-of-range values, 1 NaN, 1 invalid colour, 1 text with control characters
! tirrel page show: undecodable.xml: coerced: 1 text with undecodable bytes
[exit 1]
$ tirrel page show --json lossy.xml undecodable.xml | json
[ { "addScrollingText": false, "bindings": [ { "itemIndex": 0, "itemName": "Pump", "itemType": "ScadaObject", "slot": "tagID_image", "tagId": 5, "uid": 0 } ], "coerced": 7, "customPageSize": false, "file": "lossy.xml", "findings": [ { "kind": "comment", "path": "/comment()", "text": " One of everything a loaded page does not keep or reads as another value " },
{ "kind": "rootAttribute", "path": "/ScadaFile/@version", "text": "2" },
{ "itemIndex": 0, "itemName": "Pump", "itemType": "ScadaObject", "kind": "nan", "path": "/ScadaFile/ItemList/Item[1]/Geometry/@X", "readAs": "int", "text": "nan" },
{ "itemIndex": 0, "itemName": "Pump", "itemType": "ScadaObject", "kind": "outOfRange", "path": "/ScadaFile/ItemList/Item[1]/Geometry/@Y", "readAs": "int", "text": "1e12" },
{ "itemIndex": 0, "itemName": "Pump", "itemType": "ScadaObject", "kind": "notAnInteger", "path": "/ScadaFile/ItemList/Item[1]/Geometry/@W", "readAs": "int", "text": "12.5" },
{ "itemIndex": 0, "itemName": "Pump", "itemType": "ScadaObject", "kind": "notANumber", "path": "/ScadaFile/ItemList/Item[1]/Geometry/@H", "readAs": "int", "text": "tall" },
{ "itemIndex": 0, "itemName": "Pump", "itemType": "ScadaObject", "kind": "ignoredAttribute", "path": "/ScadaFile/ItemList/Item[1]/Properties/@Colour", "text": "red" },
{ "itemIndex": 0, "itemName": "Pump", "itemType": "ScadaObject", "kind": "outOfRange", "path": "/ScadaFile/ItemList/Item[1]/Properties/@Uid", "readAs": "int", "text": "99999999999" },
{ "itemIndex": 0, "itemName": "Pump", "itemType": "ScadaObject", "kind": "controlCharacters", "path": "/ScadaFile/ItemList/Item[1]/Tooltip", "text": "Pump\u001b one" },
{ "itemIndex": 0, "itemName": "Pump", "itemType": "ScadaObject", "kind": "ignoredElement", "path": "/ScadaFile/ItemList/Item[1]/Vendor", "text": "<Vendor>Acme</Vendor>" },
{ "itemIndex": 0, "itemName": "Pump", "itemType": "ScadaObject", "kind": "duplicateElement", "path": "/ScadaFile/ItemList/Item[1]/lofx[2]", "text": "<lofx>2</lofx>" },
{ "itemIndex": 0, "itemName": "Gauge", "itemType": "GaugeItem", "kind": "invalidColor", "path": "/ScadaFile/ItemList/Item[2]/Foreground", "readAs": "colour", "text": "reddish" },
{ "itemName": "", "itemType": "TrendItem", "kind": "unknownItemKind", "path": "/ScadaFile/ItemList/Item[3]", "text": "<Item><ItemType>TrendItem</ItemType><Geometry X=\"1\"/></Item>" } ], "geoView": false, "height": 150, "itemCount": 2, "items": { "DbqTextItem": 0, "GaugeItem": 1, "ImageItem": 0, "RTChartItem": 0, "ScadaObject": 1, "ScheduleItem": 0, "TableItem": 0, "TextItem": 0, "WebFrameItem": 0 },
"layers": [ { "id": 1, "name": "New Layer_1", "visible": true },
{ "id": 0, "name": "New Layer_0", "visible": true } ], "notKept": 6, "pageBgImage": "", "pageID": 7, "pageName": "Lossy", "pageType": 0, "tagIds": [ 5 ], "width": 250 },
{ "addScrollingText": false, "bindings": [ ], "coerced": 1, "customPageSize": false, "file": "undecodable.xml", "findings": [ { "kind": "undecodableBytes", "path": "/ScadaFile/PageProperties/pageName", "text": "Caf�" } ], "geoView": false, "height": 150, "itemCount": 0, "items": { "DbqTextItem": 0, "GaugeItem": 0, "ImageItem": 0, "RTChartItem": 0, "ScadaObject": 0, "ScheduleItem": 0, "TableItem": 0, "TextItem": 0, "WebFrameItem": 0 },
"layers": [ ], "notKept": 0, "pageBgImage": "", "pageID": -1, "pageName": "Caf�", "pageType": 0, "tagIds": [ ], "width": 250 }]

# Control characters of the data are shown escaped; a file name with a line feed is quoted.
$ mkdir tty && sed 's/<pageName>Small</<pageName>Sm\&#x1b;[2Jall\&#x9b;</' small.xml > "tty/$(printf 'a\nb.xml')" && cd tty && tirrel page show "$(printf 'a\nb.xml')"
"a\nb.xml"
  page:         Sm\x1b[2Jall\x9b (id 9, type 0)
  size:         250 x 150
  background:   -
  scrolling:    off, 0 scroll tags
  layers:       1
    0  New Layer_0
  items:        1
    ScadaObject   1
    TextItem      0
    ScheduleItem  0
    RTChartItem   0
    DbqTextItem   0
    TableItem     0
    ImageItem     0
    GaugeItem     0
    WebFrameItem  0
  tag bindings: 1 (1 tag)
         1  ScadaObject #0 "P" (Uid 5), tagID_label
  tag ids:      1
  not kept:     0
  coerced:      1
    texts with control characters  1
$ cd tty && tirrel check .
note: no definition file found, so tag bindings were not checked
.: no findings (1 page file and 0 definition files checked)
$ printf '<CTDefinitions><TagList><Tag><Name>T\302\233\342\200\256</Name></Tag></TagList></CTDefinitions>' > x.xml && tirrel defs show --list x.xml
x.xml
  channels: 0
  tags:     1
  alarms:   0
  channels:
    Id  Name  MediaType  ProtokolType  ServerIP:PORT  Serial  Enabled
  tags:
    Id  Name         Channel (Id)  Device  Address  Type  Size  Unit  Enabled
    0   T\x9b\u202e  - (-1)                         0     0           no
  alarms:
    Id  Name  Tag  Class  Level  Limit  Enabled

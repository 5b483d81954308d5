# The demo's two deliberate faults; with them fixed as its README tells, the project is clean.
$ cd $DEMO/.. && tirrel check plant-demo
definitions/plant.xml: tag "TT-301 Reservoir temperature" (id 310) is read through channel "RTU-North", which this file does not define
pages/intake.xml: SCADA object Uid 2102 is used on 2 pages: pages/intake.xml (ScadaObject #2 "Pump P-102"), pages/overview.xml (ScadaObject #2 "Pump P-102")
not checked: README.md (not XML)
not checked: overview-rendered.png (not XML)
not checked: definitions/chemical-building.csv (not XML)
not checked: images/overview-background.png (not XML)
not checked: images/riverside-logo.png (not XML)
not checked: images/site-plan.png (not XML)
not checked: library/objlib.xml (object library file)
not checked: library/userlib.xml (object library file)
not checked: library/images/analyzer.png (not XML)
not checked: library/images/button.png (not XML)
not checked: library/images/dosing_stopped.png (not XML)
not checked: library/images/filter.png (not XML)
not checked: library/images/pump_stopped.png (not XML)
not checked: library/images/tank.png (not XML)
not checked: library/images/transmitter.png (not XML)
not checked: library/images/valve_closed.png (not XML)
plant-demo: 2 findings (5 page files and 1 definition file checked; 16 other files not checked)
[exit 1]
$ cp -r $DEMO fixed && sed -i 's/Uid="2102"/Uid="1003"/' fixed/pages/overview.xml && sed -i 's/RTU-North/RTU-Reservoir/' fixed/definitions/plant.xml && tirrel check fixed
not checked: README.md (not XML)
not checked: overview-rendered.png (not XML)
not checked: definitions/chemical-building.csv (not XML)
not checked: images/overview-background.png (not XML)
not checked: images/riverside-logo.png (not XML)
not checked: images/site-plan.png (not XML)
not checked: library/objlib.xml (object library file)
not checked: library/userlib.xml (object library file)
not checked: library/images/analyzer.png (not XML)
not checked: library/images/button.png (not XML)
not checked: library/images/dosing_stopped.png (not XML)
not checked: library/images/filter.png (not XML)
not checked: library/images/pump_stopped.png (not XML)
not checked: library/images/tank.png (not XML)
not checked: library/images/transmitter.png (not XML)
not checked: library/images/valve_closed.png (not XML)
fixed: no findings (5 page files and 1 definition file checked; 16 other files not checked)

# Each fault of the fixture found once, in file order; read on one thread or on several, the
# report is the same.
$ cd $DATA/cli/faults && tirrel check .
defs/plant.xml: tag "T3" (id 3) is read through channel "PLC-Z", which this file does not define
defs/plant.xml: tag "T4" (id 4) is read through channel id 7, which this file does not define
defs/plant.xml: tag "" (id 7) has an empty name
defs/plant.xml: tag "T8" (id 8) has an empty address
defs/plant.xml: alarm "Orphan" (id 2) is on tag 950, which no definition file defines
defs/plant.xml: tag name "T1" is defined twice: defs/plant.xml (id 1), defs/plant.xml (id 5)
defs/plant.xml: tag id 2 is defined twice: defs/plant.xml ("T2"), defs/plant.xml ("T6")
pages/a.xml: ScadaObject #0 "Pump" (Uid 10) is bound to tag 999 (tagID_label), which no definition file defines
pages/a.xml: ScheduleItem #0 "Plan" is bound to tag 996 (TagIDs[1]), which no definition file defines
pages/a.xml: RTChartItem #0 "Trend" is bound to tag 998 (TagIDs[1]), which no definition file defines
pages/a.xml: DbqTextItem #0 "Report" is bound to tag 995 (reportTag), which no definition file defines
pages/a.xml: GaugeItem #0 "Pressure" is bound to tag 997 (TagId), which no definition file defines
pages/a.xml: scroll tag #1 "Missing" is bound to tag 994 (TagID), which no definition file defines
pages/a.xml: SCADA object Uid 20 is used on 2 pages: pages/a.xml (ScadaObject #1 "Valve"), pages/b.xml (ScadaObject #0 "Valve copy")
pages/a.xml: page id 1 is used by 2 pages: pages/a.xml ("Page A"), pages/b.xml ("Page B")
pages/c.page: SCADA object Uid 30 is used twice on one page: pages/c.page (ScadaObject #0 "Twin 1"), pages/c.page (ScadaObject #1 "Twin 2")
pages/half-written.xml: is not well-formed XML: line 6, column 42: unexpected end of file
not checked: notes.txt (not XML)
.: 17 findings (4 page files and 1 definition file checked; 1 other file not checked)
[exit 1]
$ tirrel check --json --jobs 5 $DATA/cli/faults | tee five.json | json
{ "complete": true, "definitionFiles": [ "defs/plant.xml" ], "directory": "$DATA/cli/faults", "findings": [ { "check": "missing-channel", "file": "defs/plant.xml", "item": "tag \"T3\" (id 3)", "message": "tag \"T3\" (id 3) is read through channel \"PLC-Z\", which this file does not define" },
{ "check": "missing-channel", "file": "defs/plant.xml", "item": "tag \"T4\" (id 4)", "message": "tag \"T4\" (id 4) is read through channel id 7, which this file does not define" },
{ "check": "empty-tag-name", "file": "defs/plant.xml", "item": "tag \"\" (id 7)", "message": "tag \"\" (id 7) has an empty name" },
{ "check": "empty-tag-address", "file": "defs/plant.xml", "item": "tag \"T8\" (id 8)", "message": "tag \"T8\" (id 8) has an empty address" },
{ "check": "alarm-undefined-tag", "file": "defs/plant.xml", "item": "alarm \"Orphan\" (id 2)", "message": "alarm \"Orphan\" (id 2) is on tag 950, which no definition file defines", "tagId": 950 },
{ "check": "duplicate-tag-name", "file": "defs/plant.xml", "files": [ "defs/plant.xml" ], "item": "tag \"T1\"", "message": "tag name \"T1\" is defined twice: defs/plant.xml (id 1), defs/plant.xml (id 5)" },
{ "check": "duplicate-tag-id", "file": "defs/plant.xml", "files": [ "defs/plant.xml" ], "item": "tag id 2", "message": "tag id 2 is defined twice: defs/plant.xml (\"T2\"), defs/plant.xml (\"T6\")", "tagId": 2 },
{ "check": "undefined-tag", "file": "pages/a.xml", "item": "ScadaObject #0 \"Pump\" (Uid 10)", "message": "ScadaObject #0 \"Pump\" (Uid 10) is bound to tag 999 (tagID_label), which no definition file defines", "tagId": 999 },
{ "check": "undefined-tag", "file": "pages/a.xml", "item": "ScheduleItem #0 \"Plan\"", "message": "ScheduleItem #0 \"Plan\" is bound to tag 996 (TagIDs[1]), which no definition file defines", "tagId": 996 },
{ "check": "undefined-tag", "file": "pages/a.xml", "item": "RTChartItem #0 \"Trend\"", "message": "RTChartItem #0 \"Trend\" is bound to tag 998 (TagIDs[1]), which no definition file defines", "tagId": 998 },
{ "check": "undefined-tag", "file": "pages/a.xml", "item": "DbqTextItem #0 \"Report\"", "message": "DbqTextItem #0 \"Report\" is bound to tag 995 (reportTag), which no definition file defines", "tagId": 995 },
{ "check": "undefined-tag", "file": "pages/a.xml", "item": "GaugeItem #0 \"Pressure\"", "message": "GaugeItem #0 \"Pressure\" is bound to tag 997 (TagId), which no definition file defines", "tagId": 997 },
{ "check": "undefined-tag", "file": "pages/a.xml", "item": "scroll tag #1 \"Missing\"", "message": "scroll tag #1 \"Missing\" is bound to tag 994 (TagID), which no definition file defines", "tagId": 994 },
{ "check": "duplicate-uid", "file": "pages/a.xml", "files": [ "pages/a.xml", "pages/b.xml" ], "item": "SCADA object Uid 20", "message": "SCADA object Uid 20 is used on 2 pages: pages/a.xml (ScadaObject #1 \"Valve\"), pages/b.xml (ScadaObject #0 \"Valve copy\")" },
{ "check": "duplicate-page-id", "file": "pages/a.xml", "files": [ "pages/a.xml", "pages/b.xml" ], "item": "page id 1", "message": "page id 1 is used by 2 pages: pages/a.xml (\"Page A\"), pages/b.xml (\"Page B\")" },
{ "check": "duplicate-uid", "file": "pages/c.page", "files": [ "pages/c.page" ], "item": "SCADA object Uid 30", "message": "SCADA object Uid 30 is used twice on one page: pages/c.page (ScadaObject #0 \"Twin 1\"), pages/c.page (ScadaObject #1 \"Twin 2\")" },
{ "check": "malformed", "column": 42, "file": "pages/half-written.xml", "line": 6, "message": "is not well-formed XML: line 6, column 42: unexpected end of file" } ], "notChecked": [ { "file": "notes.txt", "reason": "not XML" } ], "notes": [ ], "pageFiles": [ "pages/a.xml", "pages/b.xml", "pages/c.page", "pages/d.page" ], "status": 1}
[exit 1]
$ tirrel check --json --jobs 1 $DATA/cli/faults | cmp - five.json
[exit 1]
$ tirrel check --json $DATA/cli/faults | cmp - five.json
[exit 1]

# Broken files: files that were not checked (a pipe, a broken link, one too large) leave the check
# incomplete; a name that is not valid UTF-8 is visited all the same.
$ mkdir -p broken/good && cd broken && cp $DATA/cli/files/small.xml good/page.xml && cp $DATA/cli/files/defs.xml good/defs.xml && : > empty.xml && : > empty.txt && cp $DATA/cli/files/binary.png image.xml && cp image.xml image.png && cp $DATA/cli/files/half.xml half.xml && cp half.xml .hidden.xml && mkfifo pipe && ln -s nowhere.xml dangling.xml && sed 's/9<\/pageID>/10<\/pageID>/; s/Uid="5"/Uid="6"/' good/page.xml > "$(printf 'caf\351.xml')" && truncate -s 536870913 huge.xml
$ tirrel check --json --jobs 1 broken | tee one.json | json
{ "complete": false, "definitionFiles": [ "good/defs.xml" ], "directory": "broken", "findings": [ { "check": "file-name", "file": "caf\\xe9.xml", "message": "the name is not valid UTF-8 (its other bytes are shown as \\xNN), so the editor cannot open it by that name" },
{ "check": "malformed", "file": "empty.xml", "message": "is empty, not a well-formed XML document" },
{ "check": "malformed", "column": 18, "file": "half.xml", "line": 5, "message": "is not well-formed XML: line 5, column 18: unexpected end of file" },
{ "check": "malformed", "column": 1, "file": "image.xml", "line": 1, "message": "is not well-formed XML: line 1, column 1: error occurred while parsing element" } ], "notChecked": [ { "file": "dangling.xml", "incomplete": true, "reason": "broken symbolic link" },
{ "file": "empty.txt", "reason": "empty file" },
{ "file": "huge.xml", "incomplete": true, "reason": "larger than 536870912 bytes, the most that is read (536870913 bytes), not read" },
{ "file": "image.png", "reason": "not XML" },
{ "file": "pipe", "incomplete": true, "reason": "not a regular file" } ], "notes": [ ], "pageFiles": [ "caf\\xe9.xml", "good/page.xml" ], "status": 2}
[exit 2]
$ tirrel check --json --jobs 3 broken | cmp - one.json
[exit 2]
$ rm -r broken

# Input that cannot be checked, said in the text and in the JSON form.
$ tirrel check missing
! tirrel check: missing does not exist
[exit 2]
$ tirrel check --json missing | json
{ "complete": false, "definitionFiles": [ ], "directory": "missing", "error": "missing does not exist", "findings": [ ], "notChecked": [ ], "notes": [ ], "pageFiles": [ ], "status": 2}
! tirrel check: missing does not exist
[exit 2]
$ touch file && tirrel check file
! tirrel check: file is not a folder
[exit 2]
$ tirrel check --json file | json
{ "complete": false, "definitionFiles": [ ], "directory": "file", "error": "file is not a folder", "findings": [ ], "notChecked": [ ], "notes": [ ], "pageFiles": [ ], "status": 2}
! tirrel check: file is not a folder
[exit 2]
$ mkdir readme && echo '# nothing here' > readme/README.md && tirrel check readme
not checked: README.md (not XML)
readme: no findings (0 page files and 0 definition files checked; 1 other file not checked)
the check is incomplete: no page or definition file found
[exit 2]
$ tirrel check --json readme | json
{ "complete": false, "definitionFiles": [ ], "directory": "readme", "findings": [ ], "notChecked": [ { "file": "README.md", "reason": "not XML" } ], "notes": [ ], "pageFiles": [ ], "status": 2}
[exit 2]
$ mkdir empty && tirrel check empty
empty: no findings (0 page files and 0 definition files checked)
the check is incomplete: no page or definition file found
[exit 2]
$ tirrel check --json empty | json
{ "complete": false, "definitionFiles": [ ], "directory": "empty", "findings": [ ], "notChecked": [ ], "notes": [ ], "pageFiles": [ ], "status": 2}
[exit 2]

# Pages without definitions: tag bindings are not checked.
$ mkdir nodefs && cp $DATA/cli/files/small.xml nodefs/page.xml && cd nodefs && tirrel check .
note: no definition file found, so tag bindings were not checked
.: no findings (1 page file and 0 definition files checked)

# Output that cannot be written is an error.
$ tirrel check --json $DEMO > /dev/full
! tirrel: the output could not be written: No space left on device
[exit 3]

# Help: the usage first, then each command.
$ tirrel --help
Usage: tirrel [--verbose] <command> [options] [arguments]

Inspect, check and convert the pages, definition files and object library of
a SCADA project.

Commands:
  page show           Show page properties, layers, item counts and tag bindings
  page normalize      Load and save pages through the library (canonical form)
  page render         Draw pages as PNG, SVG or PDF files
  defs show           Show the channels, tags and alarms of a definition file
  defs import-csv     Turn CSV tag lists into a definition file
  check               Check the integrity of a project folder
  diff                Show what changed between two pages, definition files or folders
  plugin              Load a built plug-in as the host does and show its metadata
  library show        Show the object library catalogue as the library finds it

Every command takes --help. Options for all commands:
  --verbose           Also show the library's debug output (tirrel.* logging
                      categories); each line names its category.
  --help              Show this help.
  --version           Show the version.
$ tirrel page --help
Usage: tirrel page <command> [options] [arguments]

Commands:
  page show           Show page properties, layers, item counts and tag bindings
  page normalize      Load and save pages through the library (canonical form)
  page render         Draw pages as PNG, SVG or PDF files

Every command takes --help. Options for all commands:
  --verbose           Also show the library's debug output (tirrel.* logging
                      categories); each line names its category.
  --help              Show this help.
  --version           Show the version.
$ tirrel page render --help
Usage: tirrel page render [options] PAGE... -o OUT
Draws page files as pictures: PNG, SVG (one group per item) or PDF, by the
extension of OUT or --format. With several pages OUT is a folder (created if
missing) that gets one file per page, named after the page file. Tag-bound values
show the tag (no live data). What cannot be drawn as the page has it (a missing
image, an object type the object library lacks) is drawn as a stand-in and
reported on standard error; it does not fail the command. An existing output
file is replaced whole, or left as it was when writing fails.

Options:
  -h, --help          Displays help on commandline options.
  --help-all          Displays help including Qt specific options.
  --verbose           Also show the library's debug output (logging categories
                      tirrel.*).
  -o, --output <out>  The file to write, or the folder for several pages.
  --format <format>   png, svg or pdf (default: OUT's extension, else png).
  --scale <factor>    Output units per page unit (default 1).
  --library <dir>     Draw SCADA objects with the images of the object library
                      in <dir> (objlib.xml, userlib.xml and their images).
  --layers <which>    visible (default), all, or a comma-separated list of
                      layer ids or names.
  --tags <what>       What tag-bound values show: names (needs --defs), ids or
                      none (default: names with --defs, else ids).
  --defs <file>       The definition file that names the tags.
  --font <family>     Draw every text in this font family (output that does not
                      depend on the fonts of the machine).
  --json              Write a JSON summary (an array, one object per page:
                      output, size, items drawn with their bounding boxes,
                      warnings).

Arguments:
  PAGE                Page files.
$ tirrel page normalize -h
Usage: tirrel page normalize [options] FILE...
Loads each page file and saves it again through the library, which gives it its
canonical form: items grouped by kind, every value written, layers without items
dropped. The page's "fileName" element becomes the file's own name.
Files are replaced unless -o is given: whole, or not at all when the save fails,
and not written when already canonical. A file that is not a page (by its root
element) is reported and never written. What a page does not keep and the values
it coerces (see page show) are counted for each file written.

Options:
  -h, --help          Displays help on commandline options.
  --help-all          Displays help including Qt specific options.
  --verbose           Also show the library's debug output (logging categories
                      tirrel.*).
  -o, --output <dir>  Write the pages into <dir> (created if missing) instead
                      of replacing them.
  --strict            Do not write a page that holds anything not kept or
                      coerced; report it as an error (exit 1).
  --json              Write JSON (an array, one object per page loaded, with
                      what it does not keep) instead.

Arguments:
  FILE                Page files.

# Usage errors exit 2 with nothing on stdout.
$ tirrel
! Usage: tirrel [--verbose] <command> [options] [arguments]
! 
! Inspect, check and convert the pages, definition files and object library of
! a SCADA project.
! 
! Commands:
!   page show           Show page properties, layers, item counts and tag bindings
!   page normalize      Load and save pages through the library (canonical form)
!   page render         Draw pages as PNG, SVG or PDF files
!   defs show           Show the channels, tags and alarms of a definition file
!   defs import-csv     Turn CSV tag lists into a definition file
!   check               Check the integrity of a project folder
!   diff                Show what changed between two pages, definition files or folders
!   plugin              Load a built plug-in as the host does and show its metadata
!   library show        Show the object library catalogue as the library finds it
! 
! Every command takes --help. Options for all commands:
!   --verbose           Also show the library's debug output (tirrel.* logging
!                       categories); each line names its category.
!   --help              Show this help.
!   --version           Show the version.
[exit 2]
$ tirrel frobnicate
! tirrel: unknown command frobnicate
! See 'tirrel --help'.
[exit 2]
$ tirrel page
! tirrel page: a command is missing
! Usage: tirrel page <command> [options] [arguments]
! 
! Commands:
!   page show           Show page properties, layers, item counts and tag bindings
!   page normalize      Load and save pages through the library (canonical form)
!   page render         Draw pages as PNG, SVG or PDF files
! 
! Every command takes --help. Options for all commands:
!   --verbose           Also show the library's debug output (tirrel.* logging
!                       categories); each line names its category.
!   --help              Show this help.
!   --version           Show the version.
[exit 2]
$ tirrel defs drop
! tirrel defs: unknown command drop
! Usage: tirrel defs <command> [options] [arguments]
! 
! Commands:
!   defs show           Show the channels, tags and alarms of a definition file
!   defs import-csv     Turn CSV tag lists into a definition file
! 
! Every command takes --help. Options for all commands:
!   --verbose           Also show the library's debug output (tirrel.* logging
!                       categories); each line names its category.
!   --help              Show this help.
!   --version           Show the version.
[exit 2]
$ tirrel page show --frob x.xml
! tirrel page show: Unknown option 'frob'.
! See 'tirrel page show --help'.
[exit 2]
$ tirrel page show
! tirrel page show: missing argument
! See 'tirrel page show --help'.
[exit 2]
$ tirrel check a b
! tirrel check: too many arguments
! See 'tirrel check --help'.
[exit 2]
$ tirrel check --jobs 0 a
! tirrel check: --jobs takes a whole number from 1
[exit 2]
$ tirrel defs import-csv x.csv
! tirrel defs import-csv: the output file is missing (-o FILE)
[exit 2]
$ tirrel defs import-csv x.csv -o
! tirrel defs import-csv: Missing value after '-o'.
! See 'tirrel defs import-csv --help'.
[exit 2]
$ tirrel page render x.xml
! tirrel page render: the output is missing (-o FILE, or -o DIR for several pages)
! See 'tirrel page render --help'.
[exit 2]
$ tirrel page render x.xml -o x.jpg
! tirrel page render: cannot tell the format of x.jpg: give it the extension .png, .svg or .pdf, or use --format
! See 'tirrel page render --help'.
[exit 2]
$ tirrel page render x.xml y.xml -o x.png
! tirrel page render: with several pages, -o names a folder, not x.png
! See 'tirrel page render --help'.
[exit 2]
$ tirrel page render x.xml -o x.png --tags names
! tirrel page render: --tags names needs the definition file (--defs FILE)
! See 'tirrel page render --help'.
[exit 2]
$ tirrel page render x.xml -o x.png --scale 0
! tirrel page render: the scale must be a number above 0, not 0
! See 'tirrel page render --help'.
[exit 2]

# Files of the wrong kind exit 1.
$ tirrel defs show $DEMO/pages/intake.xml
! tirrel defs show: $DEMO/pages/intake.xml is a page file, not a definition file
[exit 1]
$ tirrel plugin $TIRREL
! tirrel plugin: $TIRREL is not a Qt plug-in: it has no plug-in metadata
[exit 1]
$ tirrel plugin $WORK/missing.so
! tirrel plugin: $WORK/missing.so does not exist
[exit 1]
$ tirrel plugin $DEMO
! tirrel plugin: $DEMO is not a file
[exit 1]

# plugin and library show; the engine reads the standard library beside the program's folder and
# the user library in the home directory, so a copy of the program runs in a folder of its own.
$ tirrel plugin $PLUGIN | grep -v 'Qt version'
$PLUGIN
  IID:         org.qt-project.Qt.OrvidePlugin
  class name:  TirrelPlugin
  metadata:
    Category     Orvide
    Description  Tirrel
    Url          https://tirrel.example.org
    Vendor       Tirrel Developers
  loads:       yes, plug-in object TirrelPlugin (a host plug-in)
$ tirrel plugin --json $PLUGIN | grep -vE '"(debug|qtVersion)"'
{
    "IID": "org.qt-project.Qt.OrvidePlugin",
    "MetaData": {
        "Category": "Orvide",
        "Description": "Tirrel",
        "Url": "https://tirrel.example.org",
        "Vendor": "Tirrel Developers"
    },
    "className": "TirrelPlugin",
    "file": "$PLUGIN",
    "hostPlugin": true,
    "instanceClass": "TirrelPlugin",
    "loads": true,
}
$ mkdir -p bin scdLib home/Parvane && cp "$TIRREL" bin/tirrel && cp $DEMO/library/objlib.xml scdLib/ && cp $DEMO/library/userlib.xml home/Parvane/ && HOME=$WORK/home bin/tirrel library show
standard library: $WORK/scdLib/objlib.xml, 9 objects
user library:     $WORK/home/Parvane/userlib.xml, 1 object
  UID  Name              Category     Type  Size       Library   Images
  1    Centrifugal pump  Pumps        4     64 x 64    standard  images/pump_stopped.png, images/pump_running.png, images/pump_fault.png
  2    Butterfly valve   Valves       5     60 x 60    standard  images/valve_closed.png, images/valve_open.png
  3    Dosing pump       Pumps        6     64 x 64    standard  images/dosing_stopped.png, images/dosing_running.png
  4    Tank              Vessels      7     200 x 220  standard  images/tank.png
  5    Sand filter       Treatment    9     140 x 180  standard  images/filter.png, images/filter_backwash.png
  6    Analyzer          Instruments  10    56 x 56    standard  images/analyzer.png
  7    Transmitter       Instruments  11    48 x 48    standard  images/transmitter.png
  8    Page button       Navigation   12    160 x 40   standard  images/button.png
  9    Status display    Navigation   13    200 x 40   standard
  10   Reservoir RTU     Telemetry    0     0 x 0      user      images/rtu_closed.png, images/rtu_door_open.png
$ HOME=$WORK/home bin/tirrel library show --json | json
{ "objects": [ { "height": 64, "images": [ "images/pump_stopped.png", "images/pump_running.png", "images/pump_fault.png" ], "isUserObject": false, "name": "Centrifugal pump", "objectCategory": "Pumps", "objectType": 4, "objectUID": 1, "width": 64 },
{ "height": 60, "images": [ "images/valve_closed.png", "images/valve_open.png" ], "isUserObject": false, "name": "Butterfly valve", "objectCategory": "Valves", "objectType": 5, "objectUID": 2, "width": 60 },
{ "height": 64, "images": [ "images/dosing_stopped.png", "images/dosing_running.png" ], "isUserObject": false, "name": "Dosing pump", "objectCategory": "Pumps", "objectType": 6, "objectUID": 3, "width": 64 },
{ "height": 220, "images": [ "images/tank.png" ], "isUserObject": false, "name": "Tank", "objectCategory": "Vessels", "objectType": 7, "objectUID": 4, "width": 200 },
{ "height": 180, "images": [ "images/filter.png", "images/filter_backwash.png" ], "isUserObject": false, "name": "Sand filter", "objectCategory": "Treatment", "objectType": 9, "objectUID": 5, "width": 140 },
{ "height": 56, "images": [ "images/analyzer.png" ], "isUserObject": false, "name": "Analyzer", "objectCategory": "Instruments", "objectType": 10, "objectUID": 6, "width": 56 },
{ "height": 48, "images": [ "images/transmitter.png" ], "isUserObject": false, "name": "Transmitter", "objectCategory": "Instruments", "objectType": 11, "objectUID": 7, "width": 48 },
{ "height": 40, "images": [ "images/button.png" ], "isUserObject": false, "name": "Page button", "objectCategory": "Navigation", "objectType": 12, "objectUID": 8, "width": 160 },
{ "height": 40, "images": [ ], "isUserObject": false, "name": "Status display", "objectCategory": "Navigation", "objectType": 13, "objectUID": 9, "width": 200 },
{ "height": 0, "images": [ "images/rtu_closed.png", "images/rtu_door_open.png" ], "isUserObject": true, "name": "Reservoir RTU", "objectCategory": "Telemetry", "objectType": 0, "objectUID": 10, "width": 0 } ], "standardLibrary": "$WORK/scdLib/objlib.xml", "standardLibraryFound": true, "userLibrary": "$WORK/home/Parvane/userlib.xml", "userLibraryFound": true}
# Without library files; like the editor, the engine makes the user image folder.
$ mkdir bare && HOME=$WORK/bare tirrel library show --json | grep -v '"standardLibrary"' && ls bare/Parvane
{
    "objects": [
    ],
    "standardLibraryFound": false,
    "userLibrary": "$WORK/bare/Parvane/userlib.xml",
    "userLibraryFound": false
}
images

# One page into each format, over an older picture: PNG (with its size), SVG (with its items in
# drawing order, the same as the JSON's) and PDF.
$ cd $DEMO && echo older > $WORK/overview.png && tirrel page render pages/overview.xml --library library --defs definitions/plant.xml --scale 0.5 --json -o $WORK/overview.png | tee $WORK/png.json | json
[ { "file": "pages/overview.xml", "format": "png", "height": 400, "items": [ { "bounds": { "height": 800, "width": 1280, "x": 0, "y": 0 },
"index": 0, "itemType": "ImageItem", "name": "Site plan" },
{ "bounds": { "height": 183, "width": 154.890625, "x": 62.5546875, "y": 300 },
"index": 0, "itemType": "ScadaObject", "name": "Intake well" },
{ "bounds": { "height": 87, "width": 85.875, "x": 229.0625, "y": 360 },
"index": 1, "itemType": "ScadaObject", "name": "Pump P-101" },
{ "bounds": { "height": 87, "width": 85.875, "x": 229.0625, "y": 460 },
"index": 2, "itemType": "ScadaObject", "name": "Pump P-102" },
{ "bounds": { "height": 163, "width": 126.9375, "x": 511.53125, "y": 340 },
"index": 3, "itemType": "ScadaObject", "name": "Filter F-201" },
{ "bounds": { "height": 163, "width": 126.9375, "x": 651.53125, "y": 340 },
"index": 4, "itemType": "ScadaObject", "name": "Filter F-202" },
{ "bounds": { "height": 243, "width": 200, "x": 960, "y": 280 },
"index": 5, "itemType": "ScadaObject", "name": "Reservoir" },
{ "bounds": { "height": 40, "width": 160, "x": 60, "y": 700 },
"index": 6, "itemType": "ScadaObject", "name": "To intake" },
{ "bounds": { "height": 40, "width": 160, "x": 240, "y": 700 },
"index": 7, "itemType": "ScadaObject", "name": "To treatment" },
{ "bounds": { "height": 40, "width": 160, "x": 420, "y": 700 },
"index": 8, "itemType": "ScadaObject", "name": "To reservoir" },
{ "bounds": { "height": 48, "width": 520, "x": 40, "y": 20 },
"index": 0, "itemType": "TextItem", "name": "" },
{ "bounds": { "height": 28, "width": 220, "x": 80, "y": 250 },
"index": 1, "itemType": "TextItem", "name": "" },
{ "bounds": { "height": 28, "width": 220, "x": 540, "y": 290 },
"index": 2, "itemType": "TextItem", "name": "" },
{ "bounds": { "height": 28, "width": 260, "x": 960, "y": 230 },
"index": 3, "itemType": "TextItem", "name": "" } ], "output": "$WORK/overview.png", "scale": 0.5, "warnings": [ ], "width": 640 }]
$ od -An -c -N8 overview.png && od -An -tu1 -j16 -N8 overview.png
 211   P   N   G  \r  \n 032  \n
   0   0   2 128   0   0   1 144
$ cd $DEMO && for f in svg pdf; do echo older > $WORK/overview.$f && tirrel page render pages/overview.xml --library library --defs definitions/plant.xml --scale 0.5 --json -o $WORK/overview.$f | sed "s/$f\"/png\"/g" | cmp - $WORK/png.json || exit; done
$ grep -o '<g id="[^"]*" class="item">' overview.svg | cut -d'"' -f2 | tr '\n' ' ' && echo && head -c5 overview.svg overview.pdf
ImageItem-0 ScadaObject-0 ScadaObject-1 ScadaObject-2 ScadaObject-3 ScadaObject-4 ScadaObject-5 ScadaObject-6 ScadaObject-7 ScadaObject-8 TextItem-0 TextItem-1 TextItem-2 TextItem-3 
==> overview.svg <==
<?xml
==> overview.pdf <==
%PDF-
[no newline at end]

# One picture per page, a warning for the object type the library lacks, and a file that is no
# page reported without stopping the others.
$ cd $DEMO && tirrel page render pages/intake.xml definitions/plant.xml pages/reservoir.xml --library library -o $WORK/pictures
wrote $WORK/pictures/intake.png (1280 x 800, 10 items)
wrote $WORK/pictures/reservoir.png (1280 x 800, 9 items, 1 warning)
! tirrel page render: definitions/plant.xml is a definition file, not a page file
! tirrel page render: pages/reservoir.xml: ScadaObject #4 "RTU-301": object type 14 is not in the object library
[exit 1]
$ ls pictures
intake.png
reservoir.png

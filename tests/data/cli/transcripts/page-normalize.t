$ cp $DATA/cli/files/* $DATA/cli/audit/lossy.xml .

# The demo pages are in canonical form: normalizing them changes no byte.
$ cp -r $DEMO demo && cd demo/pages && tirrel page normalize *.xml && diff -r $DEMO $WORK/demo
daily-report.xml: unchanged
intake.xml: unchanged
overview.xml: unchanged
reservoir.xml: unchanged
treatment.xml: unchanged

# Run from elsewhere, the page's fileName becomes its own name all the same.
$ mkdir rewrite && cp small.xml rewrite/ && cd / && tirrel page normalize $WORK/rewrite/small.xml
$WORK/rewrite/small.xml: normalized
$ cat rewrite/small.xml
<?xml version="1.0" encoding="UTF-8"?>
<ScadaFile>
    <ItemList>
        <Item>
            <ItemType>ScadaObject</ItemType>
            <Geometry X="0" Y="0" W="0" H="0" Rot="0" ZVAL="0" GZVAL="0" HFlip="0" VFlip="0"/>
            <Properties Name="P" Uid="5" Type="0" GroupId="0" LayerId="0"/>
            <TagIDs tagID_image="-1" tagID_label="1" tagID_width="-1" tagID_height="-1" tagID_posx="-1" tagID_posy="-1" tagID_rotAng="-1" tagID_txtColor="-1" tagID_maskColor="-1" tagID_maskOpac="-1" tagID_eventTarget="-1" tagID_cusProp1="-1" tagID_cusProp2="-1" tagID_cusProp3="-1" tagID_cusProp4="-1" tagID_cusProp5="-1" tagID_cusProp6="-1" tagID_cusProp7="-1"/>
            <MacroText><![CDATA[]]></MacroText>
            <Tooltip><![CDATA[]]></Tooltip>
            <weblinkActive>0</weblinkActive>
            <weblink><![CDATA[]]></weblink>
            <limitsActive>0</limitsActive>
            <lowLimit>0</lowLimit>
            <highLimit>100</highLimit>
            <lofx>0</lofx>
            <lofy>0</lofy>
            <labelStyleSheet><![CDATA[]]></labelStyleSheet>
            <labelText><![CDATA[]]></labelText>
            <eventAction>0</eventAction>
            <eventActionAck>0</eventActionAck>
            <eventType>0</eventType>
            <userConst1>0</userConst1>
            <pageFunction></pageFunction>
            <userConst2>0</userConst2>
            <showChildAlarms>1</showChildAlarms>
            <closeWindowOnClicked>0</closeWindowOnClicked>
            <componentUid indexOrder="0"></componentUid>
        </Item>
    </ItemList>
    <PageProperties>
        <pageName>Small</pageName>
        <fileName>small.xml</fileName>
        <relativePath></relativePath>
        <pageID>9</pageID>
        <pageType>0</pageType>
        <geoView>0</geoView>
        <geoData></geoData>
        <markerCategories></markerCategories>
        <geoCenterPos>51.5,0,10</geoCenterPos>
        <customPageSize>0</customPageSize>
        <addScrollingText>0</addScrollingText>
        <scaleToWindow>0</scaleToWindow>
        <pageBgImage></pageBgImage>
        <pageIcon></pageIcon>
        <pageAccessRights>0</pageAccessRights>
        <pageAccessRights2>0</pageAccessRights2>
        <layerOrder>0,New Layer_0,1,-1,-1;</layerOrder>
        <pageGeometry W="250" H="150"/>
        <ScrollTags/>
    </PageProperties>
</ScadaFile>
# A file given twice is normalized once; the library's debug lines show with --verbose.
$ cp rewrite/small.xml canonical.xml && cd rewrite && tirrel --verbose page normalize small.xml ./small.xml 2> err && grep -c ' debug: saveFiledata  start : ' err && cmp small.xml ../canonical.xml
small.xml: unchanged
1

# Files that are no pages are never replaced, in place or in an output folder.
$ for f in a b c; do cp small.xml $f.xml; done && : > empty.xml && mkdir out && cp defs.xml out/a.xml && cp half.xml out/b.xml && : > out/c.xml && tirrel page normalize defs.xml half.xml empty.xml a.xml
a.xml: normalized
! tirrel page normalize: defs.xml is a definition file, not a page file; left as it is
! tirrel page normalize: half.xml is not well-formed XML: line 5, column 18: unexpected end of file; left as it is
! tirrel page normalize: empty.xml is empty, not a page file; left as it is
[exit 1]
$ tirrel page normalize -o out a.xml b.xml c.xml
! tirrel page normalize: a.xml not written: $WORK/out/a.xml is a definition file, not a page file, and is not replaced
! tirrel page normalize: b.xml not written: $WORK/out/b.xml is not well-formed XML: line 5, column 18: unexpected end of file, and is not replaced
! tirrel page normalize: c.xml not written: $WORK/out/c.xml is empty, not a page file, and is not replaced
[exit 1]
$ cmp defs.xml $DATA/cli/files/defs.xml && cmp half.xml $DATA/cli/files/half.xml && cmp out/a.xml defs.xml && cmp out/b.xml half.xml && wc -c < empty.xml && wc -c < out/c.xml
0
0

# Two sources of one name into one folder: the second is not written.
$ mkdir -p in/sub && cp small.xml in/a.xml && cp small.xml in/sub/a.xml && tirrel page normalize in/a.xml in/sub/a.xml --output out/new
out/new/a.xml: normalized
! tirrel page normalize: in/sub/a.xml not written: $WORK/out/new/a.xml was already written from another file
[exit 1]
$ cmp small.xml in/a.xml && grep -c '<fileName>a.xml</fileName>' out/new/a.xml
1

# A file size limit below the new content: the save fails midway and says so (the signal of the
# limit is ignored, so that the write fails instead).
$ cp small.xml limited.xml && trap '' XFSZ && prlimit --fsize=100 "$TIRREL" page normalize limited.xml
! tirrel page normalize: cannot write limited.xml: the file size limit of the process is reached (File too large); any file there is left as it was
[exit 1]
$ cmp small.xml limited.xml

# --strict writes nothing; without it the page is written with its counts, and what was written
# holds nothing more to report.
$ tirrel page normalize --strict lossy.xml
! tirrel page normalize: lossy.xml not written: not kept: 1 item of unknown kind, 1 ignored element, 1 duplicate element, 1 ignored attribute, 1 root attribute, 1 comment; coerced: 1 non-numeric value, 1 non-integer value, 2 out-of-range values, 1 NaN, 1 invalid colour, 1 text with control characters; left as it is
[exit 1]
$ cmp lossy.xml $DATA/cli/audit/lossy.xml && tirrel page normalize lossy.xml
lossy.xml: normalized (not kept: 1 item of unknown kind, 1 ignored element, 1 duplicate element, 1 ignored attribute, 1 root attribute, 1 comment; coerced: 1 non-numeric value, 1 non-integer value, 2 out-of-range values, 1 NaN, 1 invalid colour, 1 text with control characters)
$ tirrel page normalize --strict --json lossy.xml
[
    {
        "coerced": 0,
        "file": "lossy.xml",
        "findings": [
        ],
        "notKept": 0,
        "output": "lossy.xml",
        "result": "unchanged"
    }
]

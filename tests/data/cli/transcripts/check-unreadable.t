# not as root: a file the tool may not read is reported, and the check is incomplete.
$ cp $DATA/cli/files/small.xml locked.xml && chmod 200 locked.xml && tirrel check --json . | json
{ "complete": false, "definitionFiles": [ ], "directory": ".", "findings": [ { "check": "unreadable", "file": "locked.xml", "message": "cannot be read: Permission denied" } ], "notChecked": [ ], "notes": [ ], "pageFiles": [ ], "status": 2}
[exit 2]

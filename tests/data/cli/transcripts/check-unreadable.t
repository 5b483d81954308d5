# not as root: a file the tool may not read is reported.
$ cp $DATA/cli/files/small.xml locked.xml && chmod 200 locked.xml && tirrel check --json .

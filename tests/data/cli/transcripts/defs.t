$ cp $DATA/cli/files/* . && cp $DEMO/definitions/* .

# The demo's definitions.
$ tirrel defs show plant.xml && tirrel defs show --list plant.xml
plant.xml
  channels: 3
  tags:     36
  alarms:   15
plant.xml
  channels: 3
  tags:     36
  alarms:   15
  channels:
    Id  Name           MediaType  ProtokolType  ServerIP:PORT   Serial        Enabled
    1   PLC-Intake     1          2             10.20.1.11:502  COM11 115200  yes
    2   PLC-Treatment  1          2             10.20.1.12:502  COM11 115200  yes
    3   RTU-Reservoir  2          1             -               COM3 19200    yes
  tags:
    Id   Name                           Channel (Id)       Device  Address  Type  Size  Unit  Enabled
    101  LT-101 Intake well level       PLC-Intake (1)     1       40001    6     4     m     yes
    102  P-101 Running                  PLC-Intake (1)     1       10001    16    1           yes
    103  P-101 Fault                    PLC-Intake (1)     1       10002    16    1           yes
    104  P-101 Speed                    PLC-Intake (1)     1       40003    6     4     %     yes
    105  P-102 Running                  PLC-Intake (1)     1       10003    16    1           yes
    106  P-102 Fault                    PLC-Intake (1)     1       10004    16    1           yes
    107  P-102 Speed                    PLC-Intake (1)     1       40005    6     4     %     yes
    108  FT-101 Raw water flow          PLC-Intake (1)     1       40007    6     4     m3/h  yes
    109  PT-101 Discharge pressure      PLC-Intake (1)     1       40009    6     4     bar   yes
    110  XV-101 Open                    PLC-Intake (1)     1       10005    16    1           yes
    111  XV-101 Closed                  PLC-Intake (1)     1       10006    16    1           yes
    112  P-101 Running hours            PLC-Intake (1)     1       40011    3     4     h     yes
    201  AT-201 Raw turbidity           PLC-Treatment (2)  2       40001    6     4     NTU   yes
    202  AT-202 Filtered turbidity      PLC-Treatment (2)  2       40003    6     4     NTU   yes
    203  AT-203 Chlorine residual       PLC-Treatment (2)  2       40005    6     4     mg/l  yes
    204  AT-204 pH                      PLC-Treatment (2)  2       40007    6     4     pH    yes
    205  FT-201 Filter 1 flow           PLC-Treatment (2)  2       40009    6     4     m3/h  yes
    206  FT-202 Filter 2 flow           PLC-Treatment (2)  2       40011    6     4     m3/h  yes
    207  PDT-201 Filter 1 dP            PLC-Treatment (2)  2       40013    6     4     mbar  yes
    208  PDT-202 Filter 2 dP            PLC-Treatment (2)  2       40015    6     4     mbar  yes
    209  DP-201 Running                 PLC-Treatment (2)  2       10001    16    1           yes
    210  DP-201 Dosing rate             PLC-Treatment (2)  2       40017    6     4     l/h   yes
    211  F-201 Backwash                 PLC-Treatment (2)  2       10002    16    1           yes
    212  F-202 Backwash                 PLC-Treatment (2)  2       10003    16    1           yes
    213  TT-201 Water temperature       PLC-Treatment (2)  2       40019    6     4     degC  yes
    214  Plant mode                     PLC-Treatment (2)  2       40021    1     2           yes
    301  LT-301 Reservoir level         RTU-Reservoir (3)  7       30001    6     4     m     yes
    302  LT-302 Reservoir level backup  RTU-Reservoir (3)  7       30003    6     4     m     yes
    303  FT-301 Outlet flow             RTU-Reservoir (3)  7       30005    6     4     m3/h  yes
    304  PT-301 Outlet pressure         RTU-Reservoir (3)  7       30007    6     4     bar   yes
    305  XV-301 Position                RTU-Reservoir (3)  7       30009    1     2     %     yes
    306  RTU-301 Battery                RTU-Reservoir (3)  7       30010    6     4     V     yes
    307  RTU-301 Door open              RTU-Reservoir (3)  7       10001    16    1           yes
    308  FQ-301 Volume today            RTU-Reservoir (3)  7       30012    3     4     m3    yes
    309  FQ-301 Volume yesterday        RTU-Reservoir (3)  7       30014    3     4     m3    yes
    310  TT-301 Reservoir temperature   RTU-North (3)      7       30016    6     4     degC  yes
  alarms:
    Id  Name             Tag  Class      Level  Limit  Enabled
    1   LAH-101          101  Process    2      4.5    yes
    2   LAL-101          101  Process    3      0.8    yes
    3   P-101 fault      103  Equipment  3      1      yes
    4   P-102 fault      106  Equipment  3      1      yes
    5   PAH-101          109  Process    2      7.5    yes
    6   AAH-201          201  Quality    1      20     yes
    7   AAH-202          202  Quality    3      1      yes
    8   AAL-203          203  Quality    3      0.2    yes
    9   AAH-203          203  Quality    2      1.5    yes
    10  PDAH-201         207  Process    1      250    yes
    11  PDAH-202         208  Process    1      250    yes
    12  LAH-301          301  Process    2      7.2    yes
    13  LAL-301          301  Process    3      1.5    yes
    14  RTU-301 door     307  Security   2      1      yes
    15  RTU-301 battery  306  Equipment  1      11.5   yes
$ tirrel defs show --json --list plant.xml | json
{ "alarmList": [ { "Id": 1, "alarm_class": "Process", "alarm_level": 2, "alarm_name": "LAH-101", "comp_type": 0, "enabled": true, "limitVal": 4.5, "tagID": 101 },
{ "Id": 2, "alarm_class": "Process", "alarm_level": 3, "alarm_name": "LAL-101", "comp_type": 1, "enabled": true, "limitVal": 0.800000011920929, "tagID": 101 },
{ "Id": 3, "alarm_class": "Equipment", "alarm_level": 3, "alarm_name": "P-101 fault", "comp_type": 2, "enabled": true, "limitVal": 1, "tagID": 103 },
{ "Id": 4, "alarm_class": "Equipment", "alarm_level": 3, "alarm_name": "P-102 fault", "comp_type": 2, "enabled": true, "limitVal": 1, "tagID": 106 },
{ "Id": 5, "alarm_class": "Process", "alarm_level": 2, "alarm_name": "PAH-101", "comp_type": 0, "enabled": true, "limitVal": 7.5, "tagID": 109 },
{ "Id": 6, "alarm_class": "Quality", "alarm_level": 1, "alarm_name": "AAH-201", "comp_type": 0, "enabled": true, "limitVal": 20, "tagID": 201 },
{ "Id": 7, "alarm_class": "Quality", "alarm_level": 3, "alarm_name": "AAH-202", "comp_type": 0, "enabled": true, "limitVal": 1, "tagID": 202 },
{ "Id": 8, "alarm_class": "Quality", "alarm_level": 3, "alarm_name": "AAL-203", "comp_type": 1, "enabled": true, "limitVal": 0.20000000298023224, "tagID": 203 },
{ "Id": 9, "alarm_class": "Quality", "alarm_level": 2, "alarm_name": "AAH-203", "comp_type": 0, "enabled": true, "limitVal": 1.5, "tagID": 203 },
{ "Id": 10, "alarm_class": "Process", "alarm_level": 1, "alarm_name": "PDAH-201", "comp_type": 0, "enabled": true, "limitVal": 250, "tagID": 207 },
{ "Id": 11, "alarm_class": "Process", "alarm_level": 1, "alarm_name": "PDAH-202", "comp_type": 0, "enabled": true, "limitVal": 250, "tagID": 208 },
{ "Id": 12, "alarm_class": "Process", "alarm_level": 2, "alarm_name": "LAH-301", "comp_type": 0, "enabled": true, "limitVal": 7.199999809265137, "tagID": 301 },
{ "Id": 13, "alarm_class": "Process", "alarm_level": 3, "alarm_name": "LAL-301", "comp_type": 1, "enabled": true, "limitVal": 1.5, "tagID": 301 },
{ "Id": 14, "alarm_class": "Security", "alarm_level": 2, "alarm_name": "RTU-301 door", "comp_type": 2, "enabled": true, "limitVal": 1, "tagID": 307 },
{ "Id": 15, "alarm_class": "Equipment", "alarm_level": 1, "alarm_name": "RTU-301 battery", "comp_type": 1, "enabled": true, "limitVal": 11.5, "tagID": 306 } ], "alarms": 15, "channelList": [ { "Baudrate": 115200, "Comport": 11, "Description": "Intake pump station PLC, Modbus TCP", "Enabled": true, "Id": 1, "MediaType": 1, "Name": "PLC-Intake", "ProtokolType": 2, "ServerIP": "10.20.1.11", "ServerPORT": 502 },
{ "Baudrate": 115200, "Comport": 11, "Description": "Filtration and dosing PLC, Modbus TCP", "Enabled": true, "Id": 2, "MediaType": 1, "Name": "PLC-Treatment", "ProtokolType": 2, "ServerIP": "10.20.1.12", "ServerPORT": 502 },
{ "Baudrate": 19200, "Comport": 3, "Description": "Reservoir RTU on the serial radio link, Modbus RTU", "Enabled": true, "Id": 3, "MediaType": 2, "Name": "RTU-Reservoir", "ProtokolType": 1, "ServerIP": "", "ServerPORT": 0 } ], "channels": 3, "file": "plant.xml", "tagList": [ { "Description": "Intake well level", "DeviceAddress": "1", "Enabled": true, "Id": 101, "KanalName": "PLC-Intake", "Kanal_Id": 1, "Name": "LT-101 Intake well level", "UnitName": "m", "VariableAddress": "40001", "VariableSize": 4, "VariableType": 6 },
{ "Description": "Pump P-101 running", "DeviceAddress": "1", "Enabled": true, "Id": 102, "KanalName": "PLC-Intake", "Kanal_Id": 1, "Name": "P-101 Running", "UnitName": "", "VariableAddress": "10001", "VariableSize": 1, "VariableType": 16 },
{ "Description": "Pump P-101 fault", "DeviceAddress": "1", "Enabled": true, "Id": 103, "KanalName": "PLC-Intake", "Kanal_Id": 1, "Name": "P-101 Fault", "UnitName": "", "VariableAddress": "10002", "VariableSize": 1, "VariableType": 16 },
{ "Description": "Pump P-101 speed", "DeviceAddress": "1", "Enabled": true, "Id": 104, "KanalName": "PLC-Intake", "Kanal_Id": 1, "Name": "P-101 Speed", "UnitName": "%", "VariableAddress": "40003", "VariableSize": 4, "VariableType": 6 },
{ "Description": "Pump P-102 running", "DeviceAddress": "1", "Enabled": true, "Id": 105, "KanalName": "PLC-Intake", "Kanal_Id": 1, "Name": "P-102 Running", "UnitName": "", "VariableAddress": "10003", "VariableSize": 1, "VariableType": 16 },
{ "Description": "Pump P-102 fault", "DeviceAddress": "1", "Enabled": true, "Id": 106, "KanalName": "PLC-Intake", "Kanal_Id": 1, "Name": "P-102 Fault", "UnitName": "", "VariableAddress": "10004", "VariableSize": 1, "VariableType": 16 },
{ "Description": "Pump P-102 speed", "DeviceAddress": "1", "Enabled": true, "Id": 107, "KanalName": "PLC-Intake", "Kanal_Id": 1, "Name": "P-102 Speed", "UnitName": "%", "VariableAddress": "40005", "VariableSize": 4, "VariableType": 6 },
{ "Description": "Raw water flow", "DeviceAddress": "1", "Enabled": true, "Id": 108, "KanalName": "PLC-Intake", "Kanal_Id": 1, "Name": "FT-101 Raw water flow", "UnitName": "m3/h", "VariableAddress": "40007", "VariableSize": 4, "VariableType": 6 },
{ "Description": "Discharge pressure", "DeviceAddress": "1", "Enabled": true, "Id": 109, "KanalName": "PLC-Intake", "Kanal_Id": 1, "Name": "PT-101 Discharge pressure", "UnitName": "bar", "VariableAddress": "40009", "VariableSize": 4, "VariableType": 6 },
{ "Description": "Inlet valve open", "DeviceAddress": "1", "Enabled": true, "Id": 110, "KanalName": "PLC-Intake", "Kanal_Id": 1, "Name": "XV-101 Open", "UnitName": "", "VariableAddress": "10005", "VariableSize": 1, "VariableType": 16 },
{ "Description": "Inlet valve closed", "DeviceAddress": "1", "Enabled": true, "Id": 111, "KanalName": "PLC-Intake", "Kanal_Id": 1, "Name": "XV-101 Closed", "UnitName": "", "VariableAddress": "10006", "VariableSize": 1, "VariableType": 16 },
{ "Description": "Pump P-101 running hours", "DeviceAddress": "1", "Enabled": true, "Id": 112, "KanalName": "PLC-Intake", "Kanal_Id": 1, "Name": "P-101 Running hours", "UnitName": "h", "VariableAddress": "40011", "VariableSize": 4, "VariableType": 3 },
{ "Description": "Turbidity before filtration", "DeviceAddress": "2", "Enabled": true, "Id": 201, "KanalName": "PLC-Treatment", "Kanal_Id": 2, "Name": "AT-201 Raw turbidity", "UnitName": "NTU", "VariableAddress": "40001", "VariableSize": 4, "VariableType": 6 },
{ "Description": "Turbidity after filtration", "DeviceAddress": "2", "Enabled": true, "Id": 202, "KanalName": "PLC-Treatment", "Kanal_Id": 2, "Name": "AT-202 Filtered turbidity", "UnitName": "NTU", "VariableAddress": "40003", "VariableSize": 4, "VariableType": 6 },
{ "Description": "Free chlorine", "DeviceAddress": "2", "Enabled": true, "Id": 203, "KanalName": "PLC-Treatment", "Kanal_Id": 2, "Name": "AT-203 Chlorine residual", "UnitName": "mg/l", "VariableAddress": "40005", "VariableSize": 4, "VariableType": 6 },
{ "Description": "pH of the treated water", "DeviceAddress": "2", "Enabled": true, "Id": 204, "KanalName": "PLC-Treatment", "Kanal_Id": 2, "Name": "AT-204 pH", "UnitName": "pH", "VariableAddress": "40007", "VariableSize": 4, "VariableType": 6 },
{ "Description": "Filter 1 flow", "DeviceAddress": "2", "Enabled": true, "Id": 205, "KanalName": "PLC-Treatment", "Kanal_Id": 2, "Name": "FT-201 Filter 1 flow", "UnitName": "m3/h", "VariableAddress": "40009", "VariableSize": 4, "VariableType": 6 },
{ "Description": "Filter 2 flow", "DeviceAddress": "2", "Enabled": true, "Id": 206, "KanalName": "PLC-Treatment", "Kanal_Id": 2, "Name": "FT-202 Filter 2 flow", "UnitName": "m3/h", "VariableAddress": "40011", "VariableSize": 4, "VariableType": 6 },
{ "Description": "Filter 1 differential pressure", "DeviceAddress": "2", "Enabled": true, "Id": 207, "KanalName": "PLC-Treatment", "Kanal_Id": 2, "Name": "PDT-201 Filter 1 dP", "UnitName": "mbar", "VariableAddress": "40013", "VariableSize": 4, "VariableType": 6 },
{ "Description": "Filter 2 differential pressure", "DeviceAddress": "2", "Enabled": true, "Id": 208, "KanalName": "PLC-Treatment", "Kanal_Id": 2, "Name": "PDT-202 Filter 2 dP", "UnitName": "mbar", "VariableAddress": "40015", "VariableSize": 4, "VariableType": 6 },
{ "Description": "Dosing pump running", "DeviceAddress": "2", "Enabled": true, "Id": 209, "KanalName": "PLC-Treatment", "Kanal_Id": 2, "Name": "DP-201 Running", "UnitName": "", "VariableAddress": "10001", "VariableSize": 1, "VariableType": 16 },
{ "Description": "Hypochlorite dosing rate", "DeviceAddress": "2", "Enabled": true, "Id": 210, "KanalName": "PLC-Treatment", "Kanal_Id": 2, "Name": "DP-201 Dosing rate", "UnitName": "l/h", "VariableAddress": "40017", "VariableSize": 4, "VariableType": 6 },
{ "Description": "Filter 1 backwash active", "DeviceAddress": "2", "Enabled": true, "Id": 211, "KanalName": "PLC-Treatment", "Kanal_Id": 2, "Name": "F-201 Backwash", "UnitName": "", "VariableAddress": "10002", "VariableSize": 1, "VariableType": 16 },
{ "Description": "Filter 2 backwash active", "DeviceAddress": "2", "Enabled": true, "Id": 212, "KanalName": "PLC-Treatment", "Kanal_Id": 2, "Name": "F-202 Backwash", "UnitName": "", "VariableAddress": "10003", "VariableSize": 1, "VariableType": 16 },
{ "Description": "Raw water temperature", "DeviceAddress": "2", "Enabled": true, "Id": 213, "KanalName": "PLC-Treatment", "Kanal_Id": 2, "Name": "TT-201 Water temperature", "UnitName": "degC", "VariableAddress": "40019", "VariableSize": 4, "VariableType": 6 },
{ "Description": "0 off, 1 manual, 2 automatic", "DeviceAddress": "2", "Enabled": true, "Id": 214, "KanalName": "PLC-Treatment", "Kanal_Id": 2, "Name": "Plant mode", "UnitName": "", "VariableAddress": "40021", "VariableSize": 2, "VariableType": 1 },
{ "Description": "Reservoir level", "DeviceAddress": "7", "Enabled": true, "Id": 301, "KanalName": "RTU-Reservoir", "Kanal_Id": 3, "Name": "LT-301 Reservoir level", "UnitName": "m", "VariableAddress": "30001", "VariableSize": 4, "VariableType": 6 },
{ "Description": "Reservoir level, backup sensor", "DeviceAddress": "7", "Enabled": true, "Id": 302, "KanalName": "RTU-Reservoir", "Kanal_Id": 3, "Name": "LT-302 Reservoir level backup", "UnitName": "m", "VariableAddress": "30003", "VariableSize": 4, "VariableType": 6 },
{ "Description": "Outlet flow to town", "DeviceAddress": "7", "Enabled": true, "Id": 303, "KanalName": "RTU-Reservoir", "Kanal_Id": 3, "Name": "FT-301 Outlet flow", "UnitName": "m3/h", "VariableAddress": "30005", "VariableSize": 4, "VariableType": 6 },
{ "Description": "Outlet pressure", "DeviceAddress": "7", "Enabled": true, "Id": 304, "KanalName": "RTU-Reservoir", "Kanal_Id": 3, "Name": "PT-301 Outlet pressure", "UnitName": "bar", "VariableAddress": "30007", "VariableSize": 4, "VariableType": 6 },
{ "Description": "Outlet valve position", "DeviceAddress": "7", "Enabled": true, "Id": 305, "KanalName": "RTU-Reservoir", "Kanal_Id": 3, "Name": "XV-301 Position", "UnitName": "%", "VariableAddress": "30009", "VariableSize": 2, "VariableType": 1 },
{ "Description": "RTU battery voltage", "DeviceAddress": "7", "Enabled": true, "Id": 306, "KanalName": "RTU-Reservoir", "Kanal_Id": 3, "Name": "RTU-301 Battery", "UnitName": "V", "VariableAddress": "30010", "VariableSize": 4, "VariableType": 6 },
{ "Description": "RTU cabinet door open", "DeviceAddress": "7", "Enabled": true, "Id": 307, "KanalName": "RTU-Reservoir", "Kanal_Id": 3, "Name": "RTU-301 Door open", "UnitName": "", "VariableAddress": "10001", "VariableSize": 1, "VariableType": 16 },
{ "Description": "Water delivered since midnight", "DeviceAddress": "7", "Enabled": true, "Id": 308, "KanalName": "RTU-Reservoir", "Kanal_Id": 3, "Name": "FQ-301 Volume today", "UnitName": "m3", "VariableAddress": "30012", "VariableSize": 4, "VariableType": 3 },
{ "Description": "Water delivered yesterday", "DeviceAddress": "7", "Enabled": true, "Id": 309, "KanalName": "RTU-Reservoir", "Kanal_Id": 3, "Name": "FQ-301 Volume yesterday", "UnitName": "m3", "VariableAddress": "30014", "VariableSize": 4, "VariableType": 3 },
{ "Description": "Reservoir water temperature", "DeviceAddress": "7", "Enabled": true, "Id": 310, "KanalName": "RTU-North", "Kanal_Id": 3, "Name": "TT-301 Reservoir temperature", "UnitName": "degC", "VariableAddress": "30016", "VariableSize": 4, "VariableType": 6 } ], "tags": 36}

# Lines skipped, a tag defined twice, and the tags imported with their types and sizes.
$ printf 'Tag list of PLC 1\r\n1;40001;Level;FLOAT\r\n1;10001;Pump run;LOGIC\r\n1;40003;Speed;WORD;spare\r\n\r\n1;40005;Hours;LONG\r\n' > a.csv && printf '2;7;Level;WORD\n2;8;Valve;DWORD\n2;9\n' > b.csv && tirrel defs import-csv a.csv b.csv -o tags.xml
a.csv: 3 tags imported, 3 lines skipped
b.csv: 1 tag imported, 1 line skipped, 1 already defined
wrote tags.xml: 0 channels, 4 tags, 0 alarms (new tag ids 1 to 4)
! tirrel defs import-csv: a.csv:1: line skipped: 1 field, a tag line has 4
! tirrel defs import-csv: a.csv:4: line skipped: 5 fields, a tag line has 4
! tirrel defs import-csv: a.csv:5: line skipped: empty line
! tirrel defs import-csv: b.csv:1: tag "Level" already exists; not added
! tirrel defs import-csv: b.csv:3: line skipped: 2 fields, a tag line has 4
$ tirrel defs show --json --list tags.xml | json
{ "alarmList": [ ], "alarms": 0, "channelList": [ ], "channels": 0, "file": "tags.xml", "tagList": [ { "Description": "", "DeviceAddress": "1", "Enabled": true, "Id": 1, "KanalName": "", "Kanal_Id": -1, "Name": "Level", "UnitName": "", "VariableAddress": "40001", "VariableSize": 4, "VariableType": 6 },
{ "Description": "", "DeviceAddress": "1", "Enabled": true, "Id": 2, "KanalName": "", "Kanal_Id": -1, "Name": "Pump run", "UnitName": "", "VariableAddress": "10001", "VariableSize": 1, "VariableType": 16 },
{ "Description": "", "DeviceAddress": "1", "Enabled": true, "Id": 3, "KanalName": "", "Kanal_Id": -1, "Name": "Hours", "UnitName": "", "VariableAddress": "40005", "VariableSize": 4, "VariableType": 3 },
{ "Description": "", "DeviceAddress": "1", "Enabled": true, "Id": 4, "KanalName": "", "Kanal_Id": -1, "Name": "Valve", "UnitName": "", "VariableAddress": "8", "VariableSize": 2, "VariableType": 1 } ], "tags": 4}
$ printf '1;1;A;FLOAT\n1;2;B;LOGIC\n1;3;C;WORD\n' > alt.csv && tirrel defs import-csv --alternate-type-codes alt.csv -o alt.xml && tirrel defs show --json --list alt.xml | grep VariableType
alt.csv: 3 tags imported
wrote alt.xml: 0 channels, 3 tags, 0 alarms (new tag ids 1 to 3)
            "VariableType": 14
            "VariableType": 16
            "VariableType": 9

# Into a new file the existing one is kept; its channels, alarms and tags stay as they were.
$ printf '1;1;New tag;FLOAT\n1;2;P-101 Speed;WORD\n' > extra.csv && tirrel defs import-csv chemical-building.csv extra.csv --into plant.xml -o merged.xml
chemical-building.csv: 11 tags imported, 1 line skipped
extra.csv: 1 tag imported, 1 already defined
wrote merged.xml: 3 channels, 48 tags, 15 alarms (new tag ids 311 to 322)
! tirrel defs import-csv: chemical-building.csv:1: line skipped: 1 field, a tag line has 4
! tirrel defs import-csv: extra.csv:2: tag "P-101 Speed" already exists; not added
$ cmp plant.xml $DEMO/definitions/plant.xml && tirrel defs show --json --list plant.xml | json > plant.json && tirrel defs show --json --list merged.xml | json | diff plant.json -
17c17
< { "Baudrate": 19200, "Comport": 3, "Description": "Reservoir RTU on the serial radio link, Modbus RTU", "Enabled": true, "Id": 3, "MediaType": 2, "Name": "RTU-Reservoir", "ProtokolType": 1, "ServerIP": "", "ServerPORT": 0 } ], "channels": 3, "file": "plant.xml", "tagList": [ { "Description": "Intake well level", "DeviceAddress": "1", "Enabled": true, "Id": 101, "KanalName": "PLC-Intake", "Kanal_Id": 1, "Name": "LT-101 Intake well level", "UnitName": "m", "VariableAddress": "40001", "VariableSize": 4, "VariableType": 6 },
---
> { "Baudrate": 19200, "Comport": 3, "Description": "Reservoir RTU on the serial radio link, Modbus RTU", "Enabled": true, "Id": 3, "MediaType": 2, "Name": "RTU-Reservoir", "ProtokolType": 1, "ServerIP": "", "ServerPORT": 0 } ], "channels": 3, "file": "merged.xml", "tagList": [ { "Description": "Intake well level", "DeviceAddress": "1", "Enabled": true, "Id": 101, "KanalName": "PLC-Intake", "Kanal_Id": 1, "Name": "LT-101 Intake well level", "UnitName": "m", "VariableAddress": "40001", "VariableSize": 4, "VariableType": 6 },
52c52,64
< { "Description": "Reservoir water temperature", "DeviceAddress": "7", "Enabled": true, "Id": 310, "KanalName": "RTU-North", "Kanal_Id": 3, "Name": "TT-301 Reservoir temperature", "UnitName": "degC", "VariableAddress": "30016", "VariableSize": 4, "VariableType": 6 } ], "tags": 36}
---
> { "Description": "Reservoir water temperature", "DeviceAddress": "7", "Enabled": true, "Id": 310, "KanalName": "RTU-North", "Kanal_Id": 3, "Name": "TT-301 Reservoir temperature", "UnitName": "degC", "VariableAddress": "30016", "VariableSize": 4, "VariableType": 6 },
> { "Description": "", "DeviceAddress": "1", "Enabled": true, "Id": 311, "KanalName": "", "Kanal_Id": -1, "Name": "CB-LT-401 Hypochlorite tank level", "UnitName": "", "VariableAddress": "40001", "VariableSize": 4, "VariableType": 6 },
> { "Description": "", "DeviceAddress": "1", "Enabled": true, "Id": 312, "KanalName": "", "Kanal_Id": -1, "Name": "CB-LT-402 Acid tank level", "UnitName": "", "VariableAddress": "40003", "VariableSize": 4, "VariableType": 6 },
> { "Description": "", "DeviceAddress": "1", "Enabled": true, "Id": 313, "KanalName": "", "Kanal_Id": -1, "Name": "CB-FT-401 Hypochlorite flow", "UnitName": "", "VariableAddress": "40005", "VariableSize": 4, "VariableType": 6 },
> { "Description": "", "DeviceAddress": "1", "Enabled": true, "Id": 314, "KanalName": "", "Kanal_Id": -1, "Name": "CB-AT-401 Room chlorine gas", "UnitName": "", "VariableAddress": "40007", "VariableSize": 4, "VariableType": 6 },
> { "Description": "", "DeviceAddress": "1", "Enabled": true, "Id": 315, "KanalName": "", "Kanal_Id": -1, "Name": "CB-P-401 Dosing pump 1 speed", "UnitName": "", "VariableAddress": "40009", "VariableSize": 2, "VariableType": 1 },
> { "Description": "", "DeviceAddress": "1", "Enabled": true, "Id": 316, "KanalName": "", "Kanal_Id": -1, "Name": "CB-P-402 Dosing pump 2 speed", "UnitName": "", "VariableAddress": "40010", "VariableSize": 2, "VariableType": 1 },
> { "Description": "", "DeviceAddress": "1", "Enabled": true, "Id": 317, "KanalName": "", "Kanal_Id": -1, "Name": "CB-P-401 Dosing pump 1 running", "UnitName": "", "VariableAddress": "10001", "VariableSize": 1, "VariableType": 16 },
> { "Description": "", "DeviceAddress": "1", "Enabled": true, "Id": 318, "KanalName": "", "Kanal_Id": -1, "Name": "CB-P-402 Dosing pump 2 running", "UnitName": "", "VariableAddress": "10002", "VariableSize": 1, "VariableType": 16 },
> { "Description": "", "DeviceAddress": "1", "Enabled": true, "Id": 319, "KanalName": "", "Kanal_Id": -1, "Name": "CB-GAS-401 Gas detector alarm", "UnitName": "", "VariableAddress": "10003", "VariableSize": 1, "VariableType": 16 },
> { "Description": "", "DeviceAddress": "1", "Enabled": true, "Id": 320, "KanalName": "", "Kanal_Id": -1, "Name": "CB-FAN-401 Exhaust fan running", "UnitName": "", "VariableAddress": "10004", "VariableSize": 1, "VariableType": 16 },
> { "Description": "", "DeviceAddress": "1", "Enabled": true, "Id": 321, "KanalName": "", "Kanal_Id": -1, "Name": "CB-FQ-401 Hypochlorite used total", "UnitName": "", "VariableAddress": "40011", "VariableSize": 4, "VariableType": 3 },
> { "Description": "", "DeviceAddress": "1", "Enabled": true, "Id": 322, "KanalName": "", "Kanal_Id": -1, "Name": "New tag", "UnitName": "", "VariableAddress": "1", "VariableSize": 4, "VariableType": 6 } ], "tags": 48}
[exit 1]
# Into the same file: allowed, and the result is that file.
$ tirrel defs import-csv extra.csv --into plant.xml -o plant.xml && tirrel defs show plant.xml
extra.csv: 1 tag imported, 1 already defined
wrote plant.xml: 3 channels, 37 tags, 15 alarms (new tag ids 311 to 311)
plant.xml
  channels: 3
  tags:     37
  alarms:   15
! tirrel defs import-csv: extra.csv:2: tag "P-101 Speed" already exists; not added

# What each kind of line reports; reports are capped at 20; without a usable line nothing is written.
$ printf 'Nr;Address;Name;Type\n1;40001;Pump;WORD\n1;;NoAddress;WORD\n1;40003;;WORD\n1;40004;"Quoted";WORD\n1;40005;"a;b";WORD\n1;40006;Flag;BOOL\n1;40007;Text;STRING\n1;40008;Flag2;BOOL\n' > kinds.csv && tirrel defs import-csv kinds.csv -o kinds.xml
kinds.csv: 4 tags imported, 5 lines skipped
wrote kinds.xml: 0 channels, 4 tags, 0 alarms (new tag ids 1 to 4)
! tirrel defs import-csv: kinds.csv:1: note: header row skipped: Nr;Address;Name;Type
! tirrel defs import-csv: kinds.csv:3: line skipped: the address is empty
! tirrel defs import-csv: kinds.csv:4: line skipped: the tag name is empty
! tirrel defs import-csv: kinds.csv:5: line skipped: quoted fields are not supported (every ";" separates fields, and quotes would stay in names)
! tirrel defs import-csv: kinds.csv:6: line skipped: quoted fields are not supported (every ";" separates fields, and quotes would stay in names)
! tirrel defs import-csv: kinds.csv: unknown type names, imported with type code 2 and size 4: "BOOL" (lines 7, 9), "STRING" (line 8)
$ printf '1;2\n%.0s' {1..25} > capped.csv && echo '1;2;A;WORD' >> capped.csv && tirrel defs import-csv capped.csv -o capped.xml
capped.csv: 1 tag imported, 25 lines skipped
wrote capped.xml: 0 channels, 1 tags, 0 alarms (new tag ids 1 to 1)
! tirrel defs import-csv: capped.csv:1: line skipped: 2 fields, a tag line has 4
! tirrel defs import-csv: capped.csv:2: line skipped: 2 fields, a tag line has 4
! tirrel defs import-csv: capped.csv:3: line skipped: 2 fields, a tag line has 4
! tirrel defs import-csv: capped.csv:4: line skipped: 2 fields, a tag line has 4
! tirrel defs import-csv: capped.csv:5: line skipped: 2 fields, a tag line has 4
! tirrel defs import-csv: capped.csv:6: line skipped: 2 fields, a tag line has 4
! tirrel defs import-csv: capped.csv:7: line skipped: 2 fields, a tag line has 4
! tirrel defs import-csv: capped.csv:8: line skipped: 2 fields, a tag line has 4
! tirrel defs import-csv: capped.csv:9: line skipped: 2 fields, a tag line has 4
! tirrel defs import-csv: capped.csv:10: line skipped: 2 fields, a tag line has 4
! tirrel defs import-csv: capped.csv:11: line skipped: 2 fields, a tag line has 4
! tirrel defs import-csv: capped.csv:12: line skipped: 2 fields, a tag line has 4
! tirrel defs import-csv: capped.csv:13: line skipped: 2 fields, a tag line has 4
! tirrel defs import-csv: capped.csv:14: line skipped: 2 fields, a tag line has 4
! tirrel defs import-csv: capped.csv:15: line skipped: 2 fields, a tag line has 4
! tirrel defs import-csv: capped.csv:16: line skipped: 2 fields, a tag line has 4
! tirrel defs import-csv: capped.csv:17: line skipped: 2 fields, a tag line has 4
! tirrel defs import-csv: capped.csv:18: line skipped: 2 fields, a tag line has 4
! tirrel defs import-csv: capped.csv:19: line skipped: 2 fields, a tag line has 4
! tirrel defs import-csv: capped.csv:20: line skipped: 2 fields, a tag line has 4
! tirrel defs import-csv: capped.csv: 5 more reports not shown
$ printf 'Nr;Address;Name;Type\n\n1;;B;WORD\n' > unusable.csv && tirrel defs import-csv unusable.csv -o unusable.xml
unusable.csv: 0 tags imported, 3 lines skipped
! tirrel defs import-csv: unusable.csv:1: note: header row skipped: Nr;Address;Name;Type
! tirrel defs import-csv: unusable.csv:2: line skipped: empty line
! tirrel defs import-csv: unusable.csv:3: line skipped: the address is empty
! tirrel defs import-csv: unusable.csv has no usable line
! tirrel defs import-csv: unusable.xml not written
[exit 1]
$ ls kinds.xml capped.xml unusable.xml
capped.xml
kinds.xml
! ls: cannot access 'unusable.xml': No such file or directory
[exit 2]

# Errors write nothing: the folder is the same before and after.
$ mkdir err && cd err && echo '1;1;A;WORD' > good.csv && cp ../small.xml page.xml && cp ../defs.xml defs.xml && printf '<CTDefinitions><TagList><Tag>' > halfdefs.xml && printf 'keep me' > existing.xml && mkfifo pipe.csv && truncate -s 536870913 ../huge.csv && ls && cat *.xml good.csv | cksum
defs.xml
existing.xml
good.csv
halfdefs.xml
page.xml
pipe.csv
3783303615 473
$ cd err && tirrel defs import-csv good.csv missing.csv -o new.xml
good.csv: 1 tag imported
! tirrel defs import-csv: cannot read the CSV file missing.csv: no such file
! tirrel defs import-csv: new.xml not written
[exit 1]
$ cd err && tirrel defs import-csv good.csv --into page.xml -o new.xml
! tirrel defs import-csv: page.xml is a page file, not a definition file; nothing written
[exit 1]
$ cd err && tirrel defs import-csv good.csv --into halfdefs.xml -o new.xml
! tirrel defs import-csv: halfdefs.xml is not well-formed XML: line 1, column 30: unexpected end of file; nothing written
[exit 1]
$ cd err && tirrel defs import-csv good.csv pipe.csv -o new.xml
good.csv: 1 tag imported
! tirrel defs import-csv: cannot read the CSV file pipe.csv: not a regular file
! tirrel defs import-csv: new.xml not written
[exit 1]
$ cd err && tirrel defs import-csv /dev/zero -o new.xml
! tirrel defs import-csv: cannot read the CSV file /dev/zero: not a regular file
! tirrel defs import-csv: new.xml not written
[exit 1]
$ cd err && tirrel defs import-csv ../huge.csv -o new.xml
! tirrel defs import-csv: cannot read the CSV file ../huge.csv: larger than 536870912 bytes, the most that is read (536870913 bytes)
! tirrel defs import-csv: new.xml not written
[exit 1]
$ cd err && tirrel defs import-csv good.csv -o existing.xml
! tirrel defs import-csv: existing.xml already exists; give --into existing.xml to add to it, or --force to replace it; nothing written
[exit 1]
$ cd err && tirrel defs import-csv good.csv --into defs.xml -o existing.xml
! tirrel defs import-csv: existing.xml already exists; give --into existing.xml to add to it, or --force to replace it; nothing written
[exit 1]
$ cd err && trap '' XFSZ && prlimit --fsize=100 "$TIRREL" defs import-csv good.csv --into defs.xml -o defs.xml
good.csv: 1 tag imported
! tirrel defs import-csv: cannot write defs.xml: the file size limit of the process is reached (File too large); any file there is left as it was
[exit 1]
$ cd err && ls && cat *.xml good.csv | cksum
defs.xml
existing.xml
good.csv
halfdefs.xml
page.xml
pipe.csv
3783303615 473
# --force replaces an existing output file.
$ cd err && tirrel defs import-csv --force good.csv -o existing.xml && grep -c '<CTDefinitions>' existing.xml
good.csv: 1 tag imported
wrote existing.xml: 0 channels, 1 tags, 0 alarms (new tag ids 1 to 1)
1

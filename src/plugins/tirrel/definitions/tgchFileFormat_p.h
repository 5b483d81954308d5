#pragma once

// The names of the definition file (format in tgchFileProcessor.h). The value elements of
// channels and tags are shared by the record tables and the export from the table models.

#include "xmlNode_p.h"

namespace DefinitionXml {

inline const XmlName Root("CTDefinitions");
inline const XmlName DocType("ChannelAndTagDefinitions");
inline const XmlName ChannelList("ChannelList");
inline const XmlName TagList("TagList");
inline const XmlName AlarmList("AlarmList");
inline const XmlName Channel("Channel");
inline const XmlName Tag("Tag");
inline const XmlName Alarm("Alarm");

// Channels and tags
inline const XmlName Name("Name"), Id("Id"), Enabled("Enabled"), Description("Description");
// Channels
inline const XmlName MediaType("MediaType"), SocketType("SocketType"),
        ProtokolType("ProtokolType"), ServerIP("ServerIP"), ServerPORT("ServerPORT"),
        ListenPORT("ListenPORT"), FilterIP("FilterIP"), Comport("Comport"), Baudrate("Baudrate"),
        Databit("Databit"), Stopbit("Stopbit"), Paritybit("Paritybit"),
        ResponseTimeout("ResponseTimeout"), ConnectionTimeout("ConnectionTimeout"),
        FrameTimeout("FrameTimeout"), GroupID("GroupID"), Station("Station"),
        KestrinPath("KestrinPath");
// Tags
inline const XmlName PollFrequency("PollFrequency"), KanalName("KanalName"),
        Kanal_Id("Kanal_Id"), DeviceAddress("DeviceAddress"), VariableAddress("VariableAddress"),
        VariableSize("VariableSize"), VariableType("VariableType"), Macro("Macro"),
        IsLogging("IsLogging"), PriLevel("PriLevel"), TagType("TagType"),
        SchedulerIndex("SchedulerIndex"), LoggingFreq("LoggingFreq"),
        LoggingMethod("LoggingMethod"), ReadRight1("ReadRight1"), ReadRight2("ReadRight2"),
        WriteRight1("WriteRight1"), WriteRight2("WriteRight2"), Keywords("Keywords"),
        UnitName("UnitName"), Protocolobjecttype("Protocolobjecttype"), Option("Option"),
        LogFilterOptions("LogFilterOptions"), Equipment("Equipment"),
        Measuredentity("Measuredentity"), Location("Location"), Formula("Formula");

} // namespace DefinitionXml

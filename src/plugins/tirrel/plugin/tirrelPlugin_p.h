#pragma once

#include "tirrelPlugin.h"

// The plug-in object's private part: a back pointer and nothing else yet.
class TirrelPluginPrivate : public QObject
{
    Q_OBJECT

public:
    explicit TirrelPluginPrivate(TirrelPlugin *plugin) : q(plugin) {}

    TirrelPlugin *q;
};

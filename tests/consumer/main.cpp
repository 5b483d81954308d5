// A host-side program built against the installed package: it includes the umbrella header,
// links Tirrel::tirrel and uses the plug-in class and the page format.
#include <tirrel.h>

#include <QCoreApplication>
#include <cstdio>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    TirrelPlugin plugin;
    if (TirrelPlugin::instance() != &plugin)
        return 1;
    const QByteArray page =
        "<ScadaFile><ItemList/><PageProperties><pageName>Consumer</pageName>"
        "<pageID>7</pageID></PageProperties></ScadaFile>";
    ScaFileData *data = ScaFileProcessor::loadFileData(page, QString());
    if (!data || data->pageProperties.pageName != QLatin1String("Consumer")
        || data->pageProperties.pageID != 7)
        return 2;
    delete data;
    std::puts("consumer ok");
    return 0;
}

#pragma once
// Placeholder: the page file processor is being written.
#include "scaFileData.h"
#include <QObject>
class TIRREL_EXPORT ScaFileProcessor : public QObject
{
    Q_OBJECT
public:
    static ScaFileData *loadFileData(const QByteArray &, QString) { return nullptr; }
};

#include "SystemFacts.h"

#include <QSysInfo>

namespace kelpay {

using namespace Qt::StringLiterals;

QString SystemFacts::hardwareModel()
{
    return QSysInfo::currentCpuArchitecture();
}

QString SystemFacts::systemVersion()
{
    const QString version = QSysInfo::productVersion();
    return version == "unknown"_L1 ? QSysInfo::kernelVersion() : version;
}

QString SystemFacts::deviceName()
{
    return QSysInfo::machineHostName();
}

SystemFacts::Chassis SystemFacts::chassis()
{
    return Chassis::Other;
}

QByteArray SystemFacts::machineIdentifier()
{
    return {};
}

} // namespace kelpay

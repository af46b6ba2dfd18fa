#include "SystemFacts.h"

#include <QSysInfo>

namespace kelpay {

QString SystemFacts::hardwareModel()
{
    return QSysInfo::currentCpuArchitecture();
}

QString SystemFacts::systemVersion()
{
    const QString version = QSysInfo::productVersion();
    return version == QLatin1StringView("unknown") ? QSysInfo::kernelVersion() : version;
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

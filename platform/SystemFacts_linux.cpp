#include "SystemFacts.h"

#include <QFile>
#include <QSysInfo>

#include <sys/utsname.h>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

QString firstLine(const char *path)
{
    QFile file(QString::fromLatin1(path));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    // Device-tree texts end with a zero byte.
    return QString::fromUtf8(file.readLine(256).replace('\0', "")).trimmed();
}

QString kernelField(char (utsname::*field)[65])
{
    utsname name{};
    return ::uname(&name) == 0 ? QString::fromLocal8Bit(name.*field) : QString();
}

/// The value of `key` in a file of KEY="value" lines.
QString assignment(const char *path, QLatin1StringView key)
{
    QFile file(QString::fromLatin1(path));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    while (!file.atEnd()) {
        const QString line = QString::fromUtf8(file.readLine(1024)).trimmed();
        if (!line.startsWith(key + u'='))
            continue;
        QString value = line.mid(key.size() + 1);
        if (value.size() >= 2 && value.startsWith(u'"') && value.endsWith(u'"'))
            value = value.mid(1, value.size() - 2);
        return value;
    }
    return {};
}

/// What hostnamed takes a DMI chassis type for.
SystemFacts::Chassis chassisOfType(int type)
{
    switch (type) {
    case 3:
    case 4:
    case 5:
    case 6:
    case 7:
    case 13:
    case 15:
    case 16:
    case 35:
    case 36:
        return SystemFacts::Chassis::Desktop;
    case 8:
    case 9:
    case 10:
    case 14:
    case 31:
    case 32:
        return SystemFacts::Chassis::Laptop;
    case 30:
        return SystemFacts::Chassis::Tablet;
    case 11:
        return SystemFacts::Chassis::Handset;
    default:
        return SystemFacts::Chassis::Other;
    }
}

} // namespace

QString SystemFacts::hardwareModel()
{
    for (const char *path : {"/sys/class/dmi/id/product_name", "/sys/firmware/devicetree/base/model"}) {
        if (QString model = firstLine(path); !model.isEmpty())
            return model;
    }
    return kernelField(&utsname::machine);
}

QString SystemFacts::systemVersion()
{
    for (const char *path : {"/etc/os-release", "/usr/lib/os-release"}) {
        if (QString version = assignment(path, "VERSION_ID"_L1); !version.isEmpty())
            return version;
    }
    return kernelField(&utsname::release);
}

QString SystemFacts::deviceName()
{
    const QString pretty = assignment("/etc/machine-info", "PRETTY_HOSTNAME"_L1);
    return pretty.isEmpty() ? QSysInfo::machineHostName() : pretty;
}

SystemFacts::Chassis SystemFacts::chassis()
{
    static constexpr struct
    {
        const char *name;
        Chassis chassis;
    } kinds[] = {{"desktop", Chassis::Desktop},
                 {"laptop", Chassis::Laptop},
                 {"tablet", Chassis::Tablet},
                 {"handset", Chassis::Handset},
                 {"embedded", Chassis::Other}};
    const QString configured = assignment("/etc/machine-info", "CHASSIS"_L1);
    for (const auto &kind : kinds) {
        if (configured == QLatin1StringView(kind.name))
            return kind.chassis;
    }
    return chassisOfType(firstLine("/sys/class/dmi/id/chassis_type").toInt());
}

QByteArray SystemFacts::machineIdentifier()
{
    return QSysInfo::machineUniqueId();
}

} // namespace kelpay

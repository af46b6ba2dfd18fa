#include "SystemFacts.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QLocale>
#include <QMessageAuthenticationCode>
#include <QStringList>
#include <QSysInfo>
#include <QUuid>

#include <algorithm>
#include <array>
#include <sys/utsname.h>

namespace kelpay {

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
        if (!line.startsWith(key + QLatin1Char('=')))
            continue;
        QString value = line.mid(key.size() + 1);
        if (value.size() >= 2 && value.startsWith(QLatin1Char('"')) && value.endsWith(QLatin1Char('"')))
            value = value.mid(1, value.size() - 2);
        return value;
    }
    return {};
}

QString reversedDomain(const QString &domain)
{
    QStringList parts = domain.split(QLatin1Char('.'), Qt::SkipEmptyParts);
    std::reverse(parts.begin(), parts.end());
    return parts.join(QLatin1Char('.'));
}

struct Chassis
{
    const char *name;
    const char *persian;
    const char *english;
};

/// The name that hostnamed gives a DMI chassis type, in two languages.
const Chassis &chassis()
{
    static constexpr std::array<Chassis, 5> kinds{{{"desktop", "رایانهٔ رومیزی", "Desktop"},
                                                   {"laptop", "رایانهٔ همراه", "Laptop"},
                                                   {"tablet", "تبلت", "Tablet"},
                                                   {"handset", "تلفن همراه", "Phone"},
                                                   {"embedded", "دستگاه", "Device"}}};
    const QString configured = assignment("/etc/machine-info", QLatin1StringView("CHASSIS"));
    for (const Chassis &kind : kinds) {
        if (configured == QLatin1StringView(kind.name))
            return kind;
    }
    switch (firstLine("/sys/class/dmi/id/chassis_type").toInt()) {
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
        return kinds[0];
    case 8:
    case 9:
    case 10:
    case 14:
    case 31:
    case 32:
        return kinds[1];
    case 30:
        return kinds[2];
    case 11:
        return kinds[3];
    default:
        return kinds[4];
    }
}

} // namespace

QString SystemFacts::hostIdentifier()
{
    if (qobject_cast<QGuiApplication *>(QCoreApplication::instance())) {
        QString name = QFileInfo(QGuiApplication::desktopFileName()).fileName();
        if (constexpr QLatin1StringView ending(".desktop"); name.endsWith(ending))
            name.chop(ending.size());
        if (!name.isEmpty())
            return name;
    }
    const QString domain = reversedDomain(QCoreApplication::organizationDomain());
    const QString application = QCoreApplication::applicationName();
    return domain.isEmpty() ? application : domain + QLatin1Char('.') + application;
}

QString SystemFacts::hostVersion()
{
    return QCoreApplication::applicationVersion();
}

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
        if (QString version = assignment(path, QLatin1StringView("VERSION_ID")); !version.isEmpty())
            return version;
    }
    return kernelField(&utsname::release);
}

QString SystemFacts::deviceName()
{
    const QString pretty = assignment("/etc/machine-info", QLatin1StringView("PRETTY_HOSTNAME"));
    return pretty.isEmpty() ? QSysInfo::machineHostName() : pretty;
}

QString SystemFacts::localizedModel()
{
    const Chassis &kind = chassis();
    return QString::fromUtf8(QLocale::system().language() == QLocale::Persian ? kind.persian : kind.english);
}

QString SystemFacts::vendorIdentifier()
{
    const QByteArray machine = QSysInfo::machineUniqueId();
    if (machine.isEmpty())
        return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
    QByteArray digest = QMessageAuthenticationCode::hash("kelpay vendor identifier: " + hostIdentifier().toUtf8(),
                                                         machine, QCryptographicHash::Sha256)
                            .first(16);
    digest[6] = static_cast<char>((digest[6] & 0x0f) | 0x80); // version 8: a UUID of our own making
    digest[8] = static_cast<char>((digest[8] & 0x3f) | 0x80);
    return QUuid::fromRfc4122(digest).toString(QUuid::WithoutBraces).toUpper();
}

} // namespace kelpay

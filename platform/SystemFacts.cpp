#include "SystemFacts.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QGuiApplication>
#include <QLocale>
#include <QMessageAuthenticationCode>
#include <QStringList>
#include <QUuid>

#include <algorithm>

namespace kelpay {

namespace {

QString reversedDomain(const QString &domain)
{
    QStringList parts = domain.split(u'.', Qt::SkipEmptyParts);
    std::reverse(parts.begin(), parts.end());
    return parts.join(u'.');
}

struct Name
{
    const char *persian;
    const char *english;
};

Name nameOf(SystemFacts::Chassis chassis)
{
    switch (chassis) {
    case SystemFacts::Chassis::Desktop:
        return {"رایانهٔ رومیزی", "Desktop"};
    case SystemFacts::Chassis::Laptop:
        return {"رایانهٔ همراه", "Laptop"};
    case SystemFacts::Chassis::Tablet:
        return {"تبلت", "Tablet"};
    case SystemFacts::Chassis::Handset:
        return {"تلفن همراه", "Phone"};
    case SystemFacts::Chassis::Other:
        break;
    }
    return {"دستگاه", "Device"};
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
    return domain.isEmpty() ? application : domain + u'.' + application;
}

QString SystemFacts::hostVersion()
{
    return QCoreApplication::applicationVersion();
}

QString SystemFacts::localizedModel()
{
    const Name name = nameOf(chassis());
    return QString::fromUtf8(QLocale::system().language() == QLocale::Persian ? name.persian : name.english);
}

QString SystemFacts::vendorIdentifier()
{
    const QByteArray machine = machineIdentifier();
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

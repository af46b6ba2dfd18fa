#include "device/CoreFunctions.h"
#include "device/HostProfile.h"
#include "platform/UserDefaults.h"
#include "security/keychain/CoreKeychain.h"

#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QRegularExpression>

namespace kelpay {
namespace {

const QString trace = QStringLiteral("trace");

TEST(CoreFunctions, VersionsLoseTheirDots)
{
    QCoreApplication::setApplicationVersion(QStringLiteral("10.2.3"));
    EXPECT_EQ(CoreFunctions().versionString(), QStringLiteral("1023;100"));
}

TEST(CoreFunctions, TheFirstRunDrawsAndLaterOnesCount)
{
    auto &defaults = UserDefaults::standard();
    CoreKeychain().deleteEntryForKey(QStringLiteral("uuid"));
    defaults.setInteger(QStringLiteral("ard"), 9);
    CoreFunctions().returnThings();
    const qint64 first = defaults.integer(trace).value_or(0);
    EXPECT_GE(first, 100);
    EXPECT_LE(first, 800);
    EXPECT_FALSE(defaults.integer(QStringLiteral("ard")));
    const QString uuid = CoreKeychain().stringForKey(QStringLiteral("uuid")).value_or(QString());
    EXPECT_TRUE(
        QRegularExpression(QStringLiteral("^[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}$")).match(uuid).hasMatch());
    CoreFunctions().returnThings();
    CoreFunctions().returnThings();
    EXPECT_EQ(defaults.integer(trace), first + 2);

    // The keychain was kept, the defaults were not.
    defaults.remove(trace);
    CoreFunctions().returnThings();
    EXPECT_EQ(defaults.integer(trace), 1);
    EXPECT_EQ(CoreKeychain().stringForKey(QStringLiteral("uuid")), uuid);
}

TEST(CoreFunctions, ApplicationIdentifier)
{
    HostProfile &profile = HostProfile::shared();
    const struct
    {
        const char *desktopFile, *domain, *bid;
        bool ziaprod;
        const char *identifier;
    } cases[] = {
        {"", "pay.example.org", "", false, "org.example.pay.device_test"},
        {"org.example.shop", "", "", false, "org.example.shop"},
        {"/usr/share/applications/org.example.shop.desktop", "x", "", false, "org.example.shop"},
        {"org.desktop.shop.desktopper", "", "", false, "org.desktop.shop.desktopper"},
        {"org.example.shop", "", "", true, "com.dorinepay.724"},
        {"org.example.shop", "", "x", true, ""},
        {"", "", "", false, "device_test"},
    };
    for (const auto &[desktopFile, domain, bid, ziaprod, identifier] : cases) {
        QGuiApplication::setDesktopFileName(QLatin1StringView(desktopFile));
        QCoreApplication::setOrganizationDomain(QLatin1StringView(domain));
        profile.setBid(QLatin1StringView(bid));
        profile.setZiaprod(ziaprod);
        EXPECT_EQ(CoreFunctions().bundleID().toStdString(), identifier);
        EXPECT_FALSE(CoreFunctions().bundleID().isNull());
    }
}

TEST(CoreFunctions, AnswersAreStoredAsRecords)
{
    const QJsonObject details{{QStringLiteral("urn"), QStringLiteral("00012")}};
    CoreFunctions().parsePaymentBody(QJsonObject{{QStringLiteral("rc"), 0}, {QStringLiteral("rd"), details}});
    ASSERT_TRUE(CoreFunctions().storedPaymentAnswer());
    EXPECT_EQ(CoreFunctions().storedPaymentAnswer()->rd.urn.toString(), QStringLiteral("00012"));

    CoreFunctions().parseTokenBody(QJsonValue::Undefined);
    ASSERT_TRUE(CoreFunctions().storedTokenAnswer());
    EXPECT_TRUE(CoreFunctions().storedTokenAnswer()->rd.t.isUndefined());

    UserDefaults::standard().setData(QStringLiteral("pym"), Bytes(std::string_view("damaged")));
    EXPECT_FALSE(CoreFunctions().storedPaymentAnswer());
}

} // namespace
} // namespace kelpay

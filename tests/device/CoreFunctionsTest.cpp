#include "device/CoreFunctions.h"
#include "device/HostProfile.h"
#include "platform/UserDefaults.h"
#include "security/keychain/CoreKeychain.h"

#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QRegularExpression>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

const QString trace = u"trace"_s;

TEST(CoreFunctions, VersionsLoseTheirDots)
{
    QCoreApplication::setApplicationVersion(u"10.2.3"_s);
    EXPECT_EQ(CoreFunctions().versionString(), u"1023;100"_s);
}

TEST(CoreFunctions, TheFirstRunDrawsAndLaterOnesCount)
{
    auto &defaults = UserDefaults::standard();
    CoreKeychain().deleteEntryForKey(u"uuid"_s);
    defaults.setInteger(u"ard"_s, 9);
    CoreFunctions().returnThings();
    const qint64 first = defaults.integer(trace).value_or(0);
    EXPECT_GE(first, 100);
    EXPECT_LE(first, 800);
    EXPECT_FALSE(defaults.integer(u"ard"_s));
    const QString uuid = CoreKeychain().stringForKey(u"uuid"_s).value_or(QString());
    EXPECT_TRUE(QRegularExpression(u"^[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}$"_s).match(uuid).hasMatch());
    CoreFunctions().returnThings();
    CoreFunctions().returnThings();
    EXPECT_EQ(defaults.integer(trace), first + 2);

    // The keychain was kept, the defaults were not.
    defaults.remove(trace);
    CoreFunctions().returnThings();
    EXPECT_EQ(defaults.integer(trace), 1);
    EXPECT_EQ(CoreKeychain().stringForKey(u"uuid"_s), uuid);
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
    const QJsonObject details{{u"urn"_s, u"00012"_s}};
    CoreFunctions().parsePaymentBody(QJsonObject{{u"rc"_s, 0}, {u"rd"_s, details}});
    ASSERT_TRUE(CoreFunctions().storedPaymentAnswer());
    EXPECT_EQ(CoreFunctions().storedPaymentAnswer()->rd.urn.toString(), u"00012"_s);

    CoreFunctions().parseTokenBody(QJsonValue::Undefined);
    ASSERT_TRUE(CoreFunctions().storedTokenAnswer());
    EXPECT_TRUE(CoreFunctions().storedTokenAnswer()->rd.t.isUndefined());

    UserDefaults::standard().setData(u"pym"_s, Bytes(std::string_view("damaged")));
    EXPECT_FALSE(CoreFunctions().storedPaymentAnswer());
}

} // namespace
} // namespace kelpay

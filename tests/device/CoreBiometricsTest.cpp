#include "device/CoreBiometrics.h"
#include "device/FingerprintService.h"

#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QPointingDevice>
#include <QTest>

namespace kelpay {
namespace {

TEST(CoreBiometrics, NoBusIsNoFingerprint)
{
    // Read once a process, when the system bus is first asked for; nothing else in this program does.
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nowhere/bus");
    EXPECT_TRUE(FingerprintService::ask().reason.startsWith(QStringLiteral("no system bus: ")));
    EXPECT_FALSE(CoreBiometrics::isBiometricIDAvailable());
}

TEST(CoreBiometrics, DeviceTypes)
{
    using Idiom = CoreBiometrics::Idiom;
    const struct
    {
        CoreBiometrics::Screen screen;
        int type;
    } rows[] = {
        {{Idiom::Pad, 480, 0}, 8},    {{Idiom::Pad, 812, 44}, 8},    {{Idiom::Unspecified, 480, 44}, 0},
        {{Idiom::Phone, 812, 44}, 7}, {{Idiom::Phone, 480, 0.5}, 7}, {{Idiom::Phone, 812, 0}, 0},
        {{Idiom::Phone, 480, 0}, 1},  {{Idiom::Phone, 568, 0}, 2},   {{Idiom::Phone, 667, 0}, 3},
        {{Idiom::Phone, 736, 0}, 4},  {{Idiom::Phone, 667.5, 0}, 0},
    };
    for (const auto &row : rows)
        EXPECT_EQ(CoreBiometrics::deviceType(row.screen), row.type) << "row " << &row - rows;

    EXPECT_EQ(CoreBiometrics::idiom(false, 150), Idiom::Unspecified);
    EXPECT_EQ(CoreBiometrics::idiom(true, 0), Idiom::Unspecified);
    EXPECT_EQ(CoreBiometrics::idiom(true, 150), Idiom::Phone);
    EXPECT_EQ(CoreBiometrics::idiom(true, 250), Idiom::Pad);
    EXPECT_EQ(CoreBiometrics::idiom(true, 550), Idiom::Unspecified); // a kiosk
}

// The offscreen screen is as large as a tablet; what it lacks is touch.
TEST(CoreBiometrics, ThisDevice)
{
    EXPECT_EQ(CoreBiometrics::getDeviceType(), 0);
    const std::unique_ptr<QPointingDevice> touch(QTest::createTouchDevice());
    EXPECT_EQ(CoreBiometrics::getDeviceType(), 8);
    EXPECT_FALSE(CoreBiometrics::supportFaceID());
}

} // namespace
} // namespace kelpay

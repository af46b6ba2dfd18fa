#include "device/CoreBiometrics.h"
#include "device/FingerprintService.h"
#include "tests/PrivateBus.h"

#include <gtest/gtest.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVirtualObject>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QPointingDevice>
#include <QTest>
#include <QThread>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

using Answer = FingerprintService::Answer;

/// Plays the fingerprint service in a thread of its own, since the caller blocks.
class FakeFingerprintService : public QDBusVirtualObject
{
public:
    explicit FakeFingerprintService(const QString &address)
        : m_connection(QDBusConnection::connectToBus(address, u"fake-fprint"_s))
    {
        EXPECT_TRUE(m_connection.registerVirtualObject(u"/"_s, this, QDBusConnection::SubPath));
        moveToThread(&m_thread);
        m_thread.start();
        EXPECT_TRUE(m_connection.registerService(u"net.reactivated.Fprint"_s));
    }
    ~FakeFingerprintService() override
    {
        m_connection.unregisterObject(u"/"_s, QDBusConnection::UnregisterTree);
        QDBusConnection::disconnectFromBus(u"fake-fprint"_s);
        m_thread.quit();
        m_thread.wait();
    }
    Q_DISABLE_COPY_MOVE(FakeFingerprintService)

    QString introspect(const QString &) const override { return {}; }

    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override
    {
        if (isMute)
            return true;
        if (message.interface() == u"net.reactivated.Fprint.Manager"_s && message.member() == u"GetDevices"_s) {
            QList<QDBusObjectPath> paths;
            for (qsizetype reader = 0; reader < readers.size(); ++reader)
                paths << QDBusObjectPath(u"/net/reactivated/Fprint/Device/%1"_s.arg(reader));
            return connection.send(message.createReply(QVariant::fromValue(paths)));
        }
        if (message.interface() != u"net.reactivated.Fprint.Device"_s || message.member() != u"ListEnrolledFingers"_s ||
            message.arguments() != QVariantList{QString()})
            return false;
        const QStringList fingers = readers.value(message.path().section(u'/', -1).toInt());
        if (fingers.isEmpty())
            return connection.send(message.createErrorReply(u"net.reactivated.Fprint.Error.NoEnrolledPrints"_s,
                                                            u"Failed to discover prints"_s));
        return connection.send(message.createReply(fingers));
    }

    QList<QStringList> readers; ///< the enrolled fingers of each
    std::atomic<bool> isMute{false};

private:
    QThread m_thread;
    QDBusConnection m_connection;
};

void expectAvailable(bool available)
{
    EXPECT_EQ(CoreBiometrics::isBiometricIDAvailable(), available);
    EXPECT_EQ(CoreBiometrics::isTouchIDAvailable(), available);
    EXPECT_FALSE(CoreBiometrics::isFaceIDAvailable());
}

TEST(CoreBiometrics, AsksTheFingerprintService)
{
    PrivateBus bus("system");
    ASSERT_TRUE(bus.isRunning());
    // Read once a process, when the system bus is first asked for; nothing else in this program does.
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", bus.address().toUtf8());
    EXPECT_TRUE(FingerprintService::ask().reason.startsWith(u"no fingerprint service: "_s));
    expectAvailable(false);
    {
        FakeFingerprintService service(bus.address());
        const QStringList thumb{u"right-thumb"_s};
        const struct
        {
            QList<QStringList> readers;
            const char *reason;
        } rows[] = {
            {{}, "no fingerprint reader"},
            {{{}}, "the enrolled fingers are unknown: Failed to discover prints"},
            {{thumb}, ""},
            {{{}, thumb}, ""},
        };
        for (const auto &row : rows) {
            service.readers = row.readers;
            const Answer answer = FingerprintService::ask();
            EXPECT_EQ(answer.reason, QLatin1StringView(row.reason));
            EXPECT_EQ(answer.hasEnrolledPrints, answer.reason.isEmpty());
            expectAvailable(answer.hasEnrolledPrints);
        }

        service.isMute = true;
        QElapsedTimer clock;
        clock.start();
        EXPECT_FALSE(FingerprintService::ask().hasEnrolledPrints);
        EXPECT_GE(clock.elapsed(), 1'500);
        EXPECT_LT(clock.elapsed(), 4'000);
    }
    bus.stop();
    EXPECT_TRUE(FingerprintService::ask().reason.startsWith(u"no system bus: "_s));
    expectAvailable(false);
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

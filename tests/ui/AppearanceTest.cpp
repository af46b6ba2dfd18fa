#include "ui/components/Appearance.h"
#include "tests/PrivateBus.h"
#include "tests/ui/Theme.h"

#include <gtest/gtest.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QLocalServer>
#include <QLocalSocket>
#include <QSignalSpy>
#include <QTest>

#include <memory>

namespace kelpay {

using namespace Qt::StringLiterals;

static void PrintTo(const Look &look, std::ostream *out)
{
    *out << (look.isDark ? "dark" : "light") << (look.isMotionReduced ? ", still, " : ", moving, ") << look.textScale;
}

namespace {

using Settings = QMap<QString, QVariantMap>;

const QString appearance = u"org.freedesktop.appearance"_s;
const QString gnome = u"org.gnome.desktop.interface"_s;
const QString kde = u"org.kde.kdeglobals.KDE"_s;

Settings setting(const QString &group, const char *key, const QVariant &value)
{
    return {{group, {{QString::fromLatin1(key), value}}}};
}

/// The desktop's settings portal on the bus that the environment names.
class FakePortal : public QDBusVirtualObject
{
public:
    enum class Manner { Answers, IsMute, Fails, SaysNonsense };

    explicit FakePortal(const PrivateBus &bus)
        : m_connection(QDBusConnection::connectToBus(bus.address(), u"fake-portal"_s))
    {
        qDBusRegisterMetaType<Settings>();
        EXPECT_TRUE(m_connection.registerVirtualObject(path, this));
        EXPECT_TRUE(m_connection.registerService(u"org.freedesktop.portal.Desktop"_s));
    }
    ~FakePortal() override
    {
        m_connection.unregisterObject(path);
        QDBusConnection::disconnectFromBus(u"fake-portal"_s);
    }
    Q_DISABLE_COPY_MOVE(FakePortal)

    QString introspect(const QString &) const override { return {}; }

    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override
    {
        if (message.interface() != interface || message.member() != u"ReadAll"_s)
            return false;
        ++questions;
        switch (manner) {
        case Manner::Answers:
            return connection.send(message.createReply(QVariant::fromValue(settings)));
        case Manner::IsMute:
            return true;
        case Manner::Fails:
            return connection.send(message.createErrorReply(QDBusError::AccessDenied, u"no"_s));
        case Manner::SaysNonsense:
            return connection.send(message.createReply(u"dark"_s));
        }
        return false;
    }

    void change(const Settings &now)
    {
        settings = now;
        auto signal = QDBusMessage::createSignal(path, interface, u"SettingChanged"_s);
        const QString group = now.firstKey();
        const QString key = now.first().firstKey();
        signal << group << key << QVariant::fromValue(QDBusVariant(now.first().first()));
        EXPECT_TRUE(m_connection.send(signal));
    }

    Settings settings;
    Manner manner = Manner::Answers;
    int questions = 0;

private:
    static inline const QString path = u"/org/freedesktop/portal/desktop"_s;
    static inline const QString interface = u"org.freedesktop.portal.Settings"_s;

    QDBusConnection m_connection;
};

class AppearanceTest : public testing::Test
{
protected:
    AppearanceTest() { qputenv("DBUS_SESSION_BUS_ADDRESS", m_bus.address().toUtf8()); }

    const PrivateBus &bus() const { return m_bus; }

    /// What the desktop says first; std::nullopt for nothing within `milliseconds`.
    static std::optional<Look> ask(int milliseconds = 3'000)
    {
        DesktopSettings desktop;
        std::optional<Look> look;
        QObject::connect(&desktop, &DesktopSettings::answered, [&](const Look &said) { look = said; });
        desktop.follow();
        (void)QTest::qWaitFor([&] { return look.has_value(); }, milliseconds);
        return look;
    }

private:
    PrivateBus m_bus{"session"};
};

TEST_F(AppearanceTest, readsWhatDesktopsSay)
{
    FakePortal portal(bus());
    const auto wrapped = QVariant::fromValue(QDBusVariant(QVariant::fromValue(QDBusVariant(1U))));
    const struct
    {
        Settings settings;
        Look look;
    } rows[] = {
        {{}, {}},
        {setting(appearance, "color-scheme", 0U), {}},
        {setting(appearance, "color-scheme", 1U), {true, false, 1}},
        {setting(appearance, "color-scheme", 2U), {}},
        {setting(appearance, "color-scheme", wrapped), {true, false, 1}},
        {setting(appearance, "reduced-motion", 1U), {false, true, 1}},
        {setting(gnome, "enable-animations", false), {false, true, 1}},
        {setting(gnome, "enable-animations", true), {}},
        {setting(kde, "AnimationDurationFactor", u"0"_s), {false, true, 1}},
        {setting(kde, "AnimationDurationFactor", u"0.5"_s), {}},
        {setting(gnome, "text-scaling-factor", 1.25), {false, false, 1.25}},
        {setting(gnome, "text-scaling-factor", 9.0), {false, false, 2}},
        {setting(gnome, "text-scaling-factor", -1.0), {}},
        {setting(gnome, "text-scaling-factor", u"large"_s), {}},
    };
    for (const auto &row : rows) {
        portal.settings = row.settings;
        EXPECT_EQ(ask(), row.look) << "row " << &row - rows;
    }
}

TEST_F(AppearanceTest, saysNothingWithoutAnAnswer)
{
    EXPECT_EQ(ask(300), std::nullopt);
    FakePortal portal(bus());
    portal.settings = setting(appearance, "color-scheme", 1U);
    for (const auto manner :
         {FakePortal::Manner::IsMute, FakePortal::Manner::Fails, FakePortal::Manner::SaysNonsense}) {
        portal.manner = manner;
        const int before = portal.questions;
        EXPECT_EQ(ask(300), std::nullopt);
        EXPECT_EQ(portal.questions, before + 1);
    }

    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere/bus");
    EXPECT_EQ(ask(300), std::nullopt);
    // Addresses that would start something.
    const QTemporaryDir folder;
    const QString trace = folder.filePath(u"started"_s);
    for (const auto &address : {u"unixexec:path=/usr/bin/touch,argv1="_s + trace, u"autolaunch:"_s, u"disabled:"_s}) {
        qputenv("DBUS_SESSION_BUS_ADDRESS", address.toUtf8());
        EXPECT_EQ(ask(300), std::nullopt);
        EXPECT_FALSE(QFile::exists(trace));
    }
}

TEST_F(AppearanceTest, theThemeFollowsTheDesktopUntilItIsPinned)
{
    const QObject *drawn = theme();
    ASSERT_TRUE(drawn);
    const auto now = [drawn] {
        return Look{drawn->property("dark").toBool(), drawn->property("motion") == 0,
                    drawn->property("bodySize").toInt() / 16.0};
    };
    QSignalSpy changes(&Appearance::shared(), &Appearance::changed);
    QTest::qWait(300);
    EXPECT_EQ(now(), Look());

    FakePortal portal(bus()); // comes up late
    portal.settings = setting(appearance, "color-scheme", 1U);
    EXPECT_TRUE(QTest::qWaitFor([&] { return now() == Look{true, false, 1}; }));
    portal.change(setting(gnome, "text-scaling-factor", 1.5));
    EXPECT_TRUE(QTest::qWaitFor([&] { return now() == Look{false, false, 1.5}; }));
    portal.change(setting(gnome, "enable-animations", false));
    EXPECT_TRUE(QTest::qWaitFor([&] { return now() == Look{false, true, 1}; }));
    portal.change(setting(gnome, "enable-animations", false));
    QTest::qWait(100);
    EXPECT_EQ(changes.size(), 3);

    Appearance::shared().pin({true, true, 2});
    portal.change(setting(appearance, "color-scheme", 2U));
    QTest::qWait(100);
    EXPECT_EQ(now(), (Look{true, true, 2}));
}

// Qt's one D-Bus thread would wait for it, and the end of the process for that thread.
TEST_F(AppearanceTest, waitsForNoBusThatIsMute)
{
    const QTemporaryDir folder;
    QLocalServer mute;
    ASSERT_TRUE(mute.listen(folder.filePath(u"mute"_s)));
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + mute.fullServerName().toUtf8());
    DesktopSettings desktop;
    QElapsedTimer clock;
    clock.start();
    desktop.follow();
    ASSERT_TRUE(QTest::qWaitFor([&] { return mute.hasPendingConnections(); }));
    QTest::qWait(100);
    EXPECT_LT(clock.elapsed(), 1'000) << "the main queue waited";
    // The greeting is given up, and nobody connects after it.
    const std::unique_ptr<QLocalSocket> client(mute.nextPendingConnection());
    EXPECT_TRUE(QTest::qWaitFor([&] { return client->state() == QLocalSocket::UnconnectedState; }, 4'000));
    QTest::qWait(200);
    EXPECT_FALSE(mute.hasPendingConnections());
}

} // namespace
} // namespace kelpay

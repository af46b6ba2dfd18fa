#include "DesktopSettings.h"

#include "platform/BusGreeting.h"
#include "platform/Dispatch.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QPointer>

#include <algorithm>
#include <atomic>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

using namespace std::chrono_literals;
using Settings = QMap<QString, QVariantMap>;

namespace portal {
const QString service = u"org.freedesktop.portal.Desktop"_s;
const QString path = u"/org/freedesktop/portal/desktop"_s;
const QString interface = u"org.freedesktop.portal.Settings"_s;

// Groups of settings.
const QString appearance = u"org.freedesktop.appearance"_s;
const QString gnome = u"org.gnome.desktop.interface"_s;
const QString kde = u"org.kde.kdeglobals.KDE"_s;
} // namespace portal

/// "" for none, and for an address that would start a bus or a program ("autolaunch:", "unixexec:").
QString busAddress()
{
    QString address = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS").section(u';', 0, 0);
    if (const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR"); address.isEmpty() && !runtime.isEmpty())
        address = u"unix:path=%1/bus"_s.arg(runtime);
    return address.startsWith("unix:"_L1) ? address : QString();
}

/// The value of a key; some portals wrap it twice.
QVariant value(const Settings &settings, const QString &group, const char *key)
{
    QVariant value = settings.value(group).value(QString::fromLatin1(key));
    while (value.metaType() == QMetaType::fromType<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    return value;
}

Look lookOf(const Settings &settings)
{
    constexpr uint preferDark = 1;
    constexpr uint preferReduced = 1;
    Look look;
    look.isDark = value(settings, portal::appearance, "color-scheme").toUInt() == preferDark;

    const QVariant animations = value(settings, portal::gnome, "enable-animations");
    bool isNumber = false;
    const double factor = value(settings, portal::kde, "AnimationDurationFactor").toDouble(&isNumber);
    look.isMotionReduced = value(settings, portal::appearance, "reduced-motion").toUInt() == preferReduced ||
                           (animations.isValid() && !animations.toBool()) || (isNumber && factor <= 0);

    if (const double scale = value(settings, portal::gnome, "text-scaling-factor").toDouble(); scale > 0)
        look.textScale = std::clamp(scale, 0.8, 2.0);
    return look;
}

} // namespace

/// The settings portal at the other end of a connection; ends the connection with itself. Emits by `settings`, its
/// parent.
class SettingsPortal : public QObject
{
    Q_OBJECT

public:
    SettingsPortal(const QDBusConnection &connection, DesktopSettings *settings)
        : QObject(settings), m_settings(settings), m_connection(connection)
    {
        if (m_connection.isConnected())
            listen();
    }
    ~SettingsPortal() override { QDBusConnection::disconnectFromBus(m_connection.name()); }
    Q_DISABLE_COPY_MOVE(SettingsPortal)

private Q_SLOTS:
    void ask();

private:
    void listen();

    DesktopSettings *m_settings;
    QDBusConnection m_connection;
};

void SettingsPortal::listen()
{
    // Without a sender, because finding the sender's name would wait; whoever says so, the portal is asked.
    m_connection.connect(QString(), portal::path, portal::interface, u"SettingChanged"_s, this, SLOT(ask()));
    auto *watcher =
        new QDBusServiceWatcher(portal::service, m_connection, QDBusServiceWatcher::WatchForRegistration, this);
    connect(watcher, &QDBusServiceWatcher::serviceRegistered, this, &SettingsPortal::ask);
    ask();
}

void SettingsPortal::ask()
{
    QDBusMessage question =
        QDBusMessage::createMethodCall(portal::service, portal::path, portal::interface, u"ReadAll"_s);
    question << QStringList{portal::appearance, portal::gnome, portal::kde};
    auto *answer = new QDBusPendingCallWatcher(m_connection.asyncCall(question), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        answer->deleteLater();
        const QDBusMessage reply = answer->reply();
        if (reply.type() == QDBusMessage::ReplyMessage && reply.signature() == "a{sa{sv}}"_L1)
            Q_EMIT m_settings->answered(lookOf(qdbus_cast<Settings>(reply.arguments().constFirst())));
    });
}

// The bus is looked for in the background, because connecting waits for it. A connection of our own, so that a host's
// is neither used nor closed.
void DesktopSettings::follow()
{
    static std::atomic<unsigned> count{0};
    const QString address = busAddress();
    if (address.isEmpty())
        return;
    Dispatch::global(Dispatch::Priority::High, [settings = QPointer(this), address] {
        if (!busGreets(address, 2s))
            return;
        const auto connection = QDBusConnection::connectToBus(address, u"kelpay-appearance-%1"_s.arg(++count));
        Dispatch::main([settings, connection] {
            if (settings)
                new SettingsPortal(connection, settings);
            else
                QDBusConnection::disconnectFromBus(connection.name());
        });
    });
}

} // namespace kelpay

#include "DesktopSettings_linux.moc"

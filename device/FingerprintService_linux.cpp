#include "FingerprintService.h"

#include "platform/BusGreeting.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusReply>
#include <QDeadlineTimer>
#include <QStringList>

#include <algorithm>
#include <atomic>
#include <chrono>

namespace kelpay {

namespace {

/// A connection of our own, so that a host's is neither used nor closed, and a bus that comes up later is found.
class Bus
{
public:
    explicit Bus(QDeadlineTimer deadline)
        : m_name(QStringLiteral("kelpay-fingerprint-%1").arg(++s_count))
        , m_connection(QDBusConnection::connectToBus(QDBusConnection::SystemBus, m_name))
        , m_deadline(deadline)
    {}
    ~Bus() { QDBusConnection::disconnectFromBus(m_name); }
    Q_DISABLE_COPY_MOVE(Bus)

    const QDBusConnection &connection() const { return m_connection; }

    QDBusMessage call(const QString &path, const QString &interface, const QString &method,
                      const QVariantList &arguments = {}) const
    {
        auto message = QDBusMessage::createMethodCall(QStringLiteral("net.reactivated.Fprint"), path,
                                                      QStringLiteral("net.reactivated.Fprint.") + interface, method);
        message.setArguments(arguments);
        const auto left = std::max<qint64>(1, m_deadline.remainingTime());
        return m_connection.call(message, QDBus::Block, static_cast<int>(left));
    }

private:
    static inline std::atomic<unsigned> s_count{0};

    QString m_name;
    QDBusConnection m_connection;
    QDeadlineTimer m_deadline;
};

} // namespace

FingerprintService::Answer FingerprintService::ask()
{
    constexpr std::chrono::seconds limit(2);
    const QDeadlineTimer deadline(limit);
    const QString address =
        qEnvironmentVariable("DBUS_SYSTEM_BUS_ADDRESS", QStringLiteral("unix:path=/var/run/dbus/system_bus_socket"));
    if (!busGreets(address, limit))
        return {false, QStringLiteral("no system bus: nobody answers at ") + address};
    const Bus bus(deadline);
    if (!bus.connection().isConnected())
        return {false, QStringLiteral("no system bus: ") + bus.connection().lastError().message()};

    const QDBusReply<QList<QDBusObjectPath>> devices = bus.call(
        QStringLiteral("/net/reactivated/Fprint/Manager"), QStringLiteral("Manager"), QStringLiteral("GetDevices"));
    if (!devices.isValid())
        return {false, QStringLiteral("no fingerprint service: ") + devices.error().message()};

    QString reason = QStringLiteral("no fingerprint reader");
    const auto paths = devices.value();
    for (const QDBusObjectPath &path : paths) {
        // The empty name is the caller's.
        const QDBusReply<QStringList> fingers =
            bus.call(path.path(), QStringLiteral("Device"), QStringLiteral("ListEnrolledFingers"), {QString()});
        if (fingers.isValid() && !fingers.value().isEmpty())
            return {true, QString()};
        reason = fingers.isValid() ? QStringLiteral("no finger is enrolled")
                                   : QStringLiteral("the enrolled fingers are unknown: ") + fingers.error().message();
    }
    return {false, reason};
}

} // namespace kelpay

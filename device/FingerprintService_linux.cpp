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

using namespace Qt::StringLiterals;

namespace {

/// A connection of our own, so that a host's is neither used nor closed, and a bus that comes up later is found.
class Bus
{
public:
    explicit Bus(QDeadlineTimer deadline)
        : m_name(u"kelpay-fingerprint-%1"_s.arg(++s_count))
        , m_connection(QDBusConnection::connectToBus(QDBusConnection::SystemBus, m_name))
        , m_deadline(deadline)
    {}
    ~Bus() { QDBusConnection::disconnectFromBus(m_name); }
    Q_DISABLE_COPY_MOVE(Bus)

    const QDBusConnection &connection() const { return m_connection; }

    QDBusMessage call(const QString &path, const QString &interface, const QString &method,
                      const QVariantList &arguments = {}) const
    {
        auto message = QDBusMessage::createMethodCall(u"net.reactivated.Fprint"_s, path,
                                                      u"net.reactivated.Fprint."_s + interface, method);
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
        qEnvironmentVariable("DBUS_SYSTEM_BUS_ADDRESS", u"unix:path=/var/run/dbus/system_bus_socket"_s);
    if (!busGreets(address, limit))
        return {false, u"no system bus: nobody answers at "_s + address};
    const Bus bus(deadline);
    if (!bus.connection().isConnected())
        return {false, u"no system bus: "_s + bus.connection().lastError().message()};

    const QDBusReply<QList<QDBusObjectPath>> devices =
        bus.call(u"/net/reactivated/Fprint/Manager"_s, u"Manager"_s, u"GetDevices"_s);
    if (!devices.isValid())
        return {false, u"no fingerprint service: "_s + devices.error().message()};

    QString reason = u"no fingerprint reader"_s;
    const auto paths = devices.value();
    for (const QDBusObjectPath &path : paths) {
        // The empty name is the caller's.
        const QDBusReply<QStringList> fingers =
            bus.call(path.path(), u"Device"_s, u"ListEnrolledFingers"_s, {QString()});
        if (fingers.isValid() && !fingers.value().isEmpty())
            return {true, QString()};
        reason = fingers.isValid() ? u"no finger is enrolled"_s
                                   : u"the enrolled fingers are unknown: "_s + fingers.error().message();
    }
    return {false, reason};
}

} // namespace kelpay

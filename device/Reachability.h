#pragma once

#include <QObject>
#include <QString>

#include <memory>
#include <optional>

namespace kelpay {

/// Tells whether a host can be reached, and over what, without sending anything. Main queue.
///
/// A host given as an address is reachable when the kernel has a route to it. For a host name the system's network
/// service decides; where none runs, whether the kernel has a default route. Where the build can't ask the kernel, the
/// network service decides for both, and without one nothing is reachable.
class Reachability : public QObject
{
    Q_OBJECT

public:
    enum NetworkStatus { NotReachable = 0, ReachableViaWWAN = 1, ReachableViaWiFi = 2 };
    Q_ENUM(NetworkStatus)

    /// What the status is made of. std::nullopt: nobody can tell.
    struct Facts
    {
        std::optional<bool> online;       ///< the network service's word
        std::optional<bool> cellular;     ///< the same, about the medium
        bool hostIsAddress = false;       ///< one that the kernel was asked about
        std::optional<QString> interface; ///< by which the kernel would send
        bool interfaceIsCellular = false;
    };

    static std::unique_ptr<Reachability> reachabilityWithHostName(const QString &hostName);

    /// Begins to emit `changed`; false when the system tells nobody about changes. A second call changes nothing.
    bool startNotifier();
    void stopNotifier();

    /// A cable counts as Wi-Fi.
    NetworkStatus currentReachabilityStatus() const;
    /// "No Connection", "Cellular" or "WiFi".
    QString currentReachabilityString() const;

    static NetworkStatus statusOf(const Facts &facts);
    static QString text(NetworkStatus status);

Q_SIGNALS:
    /// The notification kReachabilityChangedNotification: the status is another than before.
    void changed(kelpay::Reachability::NetworkStatus status);

private:
    explicit Reachability(const QString &hostName);
    Facts facts() const;
    void compare();

    QString m_hostName;
    NetworkStatus m_lastStatus = NotReachable;
    std::unique_ptr<QObject> m_notifier;
};

} // namespace kelpay

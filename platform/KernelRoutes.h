#pragma once

#include <QHostAddress>
#include <QObject>
#include <QString>

#include <optional>

namespace kelpay {

/// What the kernel's routing tables say; nothing is sent to ask them.
class KernelRoutes
{
public:
    /// The interface by which packets to `address` would leave; std::nullopt when no route leads there. Any thread.
    static std::optional<QString> interfaceTo(const QHostAddress &address);
    /// The interface to the rest of the world, over IPv4 or else IPv6. Any thread.
    static std::optional<QString> defaultInterface();
    /// True for the interface of a mobile-network modem.
    static bool isCellular(const QString &interface);
};

/// Tells, on the thread it lives on, when a link, an address or a route came or went. Needs an event loop there.
class KernelRouteMonitor : public QObject
{
    Q_OBJECT

public:
    explicit KernelRouteMonitor(QObject *parent = nullptr);
    ~KernelRouteMonitor() override;

    /// False, with a log line, when the kernel refuses to tell.
    bool isWatching() const;

Q_SIGNALS:
    void changed();

private:
    void drain();

    int m_socket = -1;
};

} // namespace kelpay

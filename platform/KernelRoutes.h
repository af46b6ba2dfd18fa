#pragma once

#include <QHostAddress>
#include <QString>

#include <functional>
#include <optional>

QT_BEGIN_NAMESPACE
class QObject;
QT_END_NAMESPACE

namespace kelpay {

/// What the kernel's routing tables say; nothing is sent to ask them.
class KernelRoutes
{
public:
    /// False where this build can't ask: no route and no change is known then, which says nothing about the network.
    static bool areKnown();
    /// The interface by which packets to `address` would leave, "" where it has no name; std::nullopt when no route
    /// leads there. Any thread.
    static std::optional<QString> interfaceTo(const QHostAddress &address);
    /// The interface to the rest of the world, over IPv4 or else IPv6. Any thread.
    static std::optional<QString> defaultInterface();
    /// True for the interface of a mobile-network modem.
    static bool isCellular(const QString &interface);

    /// Calls `changed` when a link, an address or a route came or went, on the thread of `owner`, which needs an event
    /// loop, until `owner` goes. False when the kernel refuses to tell, with a log line, and where nothing is known.
    static bool watch(QObject *owner, const std::function<void()> &changed);
};

} // namespace kelpay

#include "KernelRoutes.h"

#include "Log.h"

#include <QFile>
#include <QNetworkInterface>
#include <QSocketNotifier>

#include <array>
#include <cerrno>
#include <cstring>

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

/// The kernel's own form of `address` with the discard port; returns its length.
socklen_t socketAddress(const QHostAddress &address, sockaddr_storage &storage)
{
    constexpr quint16 port = 9;
    std::memset(&storage, 0, sizeof(storage));
    if (address.protocol() == QAbstractSocket::IPv6Protocol) {
        sockaddr_in6 v6{};
        v6.sin6_family = AF_INET6;
        v6.sin6_port = htons(port);
        const Q_IPV6ADDR bytes = address.toIPv6Address();
        std::memcpy(&v6.sin6_addr, &bytes, sizeof(bytes));
        v6.sin6_scope_id = static_cast<quint32>(QNetworkInterface::interfaceIndexFromName(address.scopeId()));
        std::memcpy(&storage, &v6, sizeof(v6));
        return sizeof(v6);
    }
    sockaddr_in v4{};
    v4.sin_family = AF_INET;
    v4.sin_port = htons(port);
    v4.sin_addr.s_addr = htonl(address.toIPv4Address());
    std::memcpy(&storage, &v4, sizeof(v4));
    return sizeof(v4);
}

/// The interface that holds `address`; "" when none does.
QString interfaceWith(const QHostAddress &address)
{
    const auto interfaces = QNetworkInterface::allInterfaces();
    for (const QNetworkInterface &interface : interfaces) {
        const auto entries = interface.addressEntries();
        for (const QNetworkAddressEntry &entry : entries) {
            if (entry.ip().isEqual(address, QHostAddress::TolerantConversion))
                return interface.name();
        }
    }
    return u""_s;
}

/// Closes its socket when it goes.
class NewsNotifier : public QSocketNotifier
{
public:
    NewsNotifier(int news, QObject *parent) : QSocketNotifier(news, Read, parent) {}
    ~NewsNotifier() override
    {
        setEnabled(false);
        ::close(static_cast<int>(socket()));
    }
    Q_DISABLE_COPY_MOVE(NewsNotifier)
};

/// The messages are not read: whoever listens asks the tables again. A full buffer (ENOBUFS) also means a change.
void drain(int news)
{
    std::array<char, 8192> buffer{};
    while (::recv(news, buffer.data(), buffer.size(), 0) > 0 || errno == ENOBUFS || errno == EINTR) {
    }
}

} // namespace

bool KernelRoutes::areKnown()
{
    return true;
}

std::optional<QString> KernelRoutes::interfaceTo(const QHostAddress &address)
{
    sockaddr_storage target;
    const socklen_t length = socketAddress(address, target);
    const int probe = ::socket(target.ss_family, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (probe < 0)
        return std::nullopt;
    // Connecting a datagram socket only looks the route up and picks the source address.
    sockaddr_storage source{};
    socklen_t sourceLength = sizeof(source);
    const bool routed = ::connect(probe, reinterpret_cast<const sockaddr *>(&target), length) == 0 &&
                        ::getsockname(probe, reinterpret_cast<sockaddr *>(&source), &sourceLength) == 0;
    ::close(probe);
    if (!routed)
        return std::nullopt;
    const QHostAddress local(reinterpret_cast<const sockaddr *>(&source));
    // The whole of 127.0.0.0/8 is local, and only its first address is on an interface.
    return local.isLoopback() ? u"lo"_s : interfaceWith(local);
}

bool KernelRoutes::isCellular(const QString &interface)
{
    QFile description(u"/sys/class/net/%1/uevent"_s.arg(interface));
    return description.open(QIODevice::ReadOnly) && description.read(4096).contains("DEVTYPE=wwan\n");
}

bool KernelRoutes::watch(QObject *owner, const std::function<void()> &changed)
{
    const int news = ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE);
    sockaddr_nl groups{};
    groups.nl_family = AF_NETLINK;
    groups.nl_groups = RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR | RTMGRP_IPV4_ROUTE | RTMGRP_IPV6_ROUTE;
    if (news < 0 || ::bind(news, reinterpret_cast<const sockaddr *>(&groups), sizeof(groups)) != 0) {
        qCWarning(logPlatform, "changes of the network go unseen: %s", std::strerror(errno));
        if (news >= 0)
            ::close(news);
        return false;
    }
    const auto *notifier = new NewsNotifier(news, owner);
    QObject::connect(notifier, &QSocketNotifier::activated, owner, [news, changed] {
        drain(news);
        changed();
    });
    return true;
}

} // namespace kelpay

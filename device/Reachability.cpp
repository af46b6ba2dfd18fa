#include "Reachability.h"

#include "platform/KernelRoutes.h"

#include <QNetworkInformation>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

/// The system's network service, or null where none runs. A back end that the host loaded stays.
QNetworkInformation *networkService()
{
    using Feature = QNetworkInformation::Feature;
    // Once: looking for a service that isn't there costs calls on the bus.
    [[maybe_unused]] static const bool looked =
        QNetworkInformation::instance() ||
        QNetworkInformation::loadBackendByFeatures(Feature::Reachability | Feature::TransportMedium) ||
        QNetworkInformation::loadBackendByFeatures(Feature::Reachability);
    auto *service = QNetworkInformation::instance();
    return service && service->supports(Feature::Reachability) ? service : nullptr;
}

std::optional<bool> isOnline(QNetworkInformation::Reachability reachability)
{
    switch (reachability) {
    case QNetworkInformation::Reachability::Disconnected:
        return false;
    case QNetworkInformation::Reachability::Site:
    case QNetworkInformation::Reachability::Online:
        return true;
    case QNetworkInformation::Reachability::Local:
    case QNetworkInformation::Reachability::Unknown:
        break;
    }
    return std::nullopt;
}

} // namespace

Reachability::Reachability(const QString &hostName) : m_hostName(hostName) {}

std::unique_ptr<Reachability> Reachability::reachabilityWithHostName(const QString &hostName)
{
    return std::unique_ptr<Reachability>(new Reachability(hostName));
}

bool Reachability::startNotifier()
{
    if (m_notifier)
        return true;
    // Routes change without the network service's knowledge, and it may run without knowing the medium: hear both.
    auto notifier = std::make_unique<QObject>();
    const bool isWatching = KernelRoutes::watch(notifier.get(), [this] { compare(); });
    auto *service = networkService();
    if (!isWatching && !service)
        return false;
    m_lastStatus = currentReachabilityStatus();
    if (service) {
        connect(service, &QNetworkInformation::reachabilityChanged, notifier.get(), [this] { compare(); });
        connect(service, &QNetworkInformation::transportMediumChanged, notifier.get(), [this] { compare(); });
    }
    m_notifier = std::move(notifier);
    return true;
}

void Reachability::stopNotifier()
{
    m_notifier.reset();
}

Reachability::NetworkStatus Reachability::currentReachabilityStatus() const
{
    return statusOf(facts());
}

QString Reachability::currentReachabilityString() const
{
    return text(currentReachabilityStatus());
}

Reachability::Facts Reachability::facts() const
{
    Facts facts;
    const QHostAddress address(m_hostName);
    facts.hostIsAddress = !address.isNull() && KernelRoutes::areKnown();
    facts.interface = facts.hostIsAddress ? KernelRoutes::interfaceTo(address) : KernelRoutes::defaultInterface();
    facts.interfaceIsCellular = facts.interface && KernelRoutes::isCellular(*facts.interface);
    if (const auto *service = networkService()) {
        facts.online = isOnline(service->reachability());
        const auto medium = service->transportMedium();
        if (medium != QNetworkInformation::TransportMedium::Unknown)
            facts.cellular = medium == QNetworkInformation::TransportMedium::Cellular;
    }
    return facts;
}

Reachability::NetworkStatus Reachability::statusOf(const Facts &facts)
{
    const bool routed = facts.interface.has_value();
    const bool reachable = facts.hostIsAddress ? routed : facts.online.value_or(routed);
    if (!reachable)
        return NotReachable;
    return facts.cellular.value_or(facts.interfaceIsCellular) ? ReachableViaWWAN : ReachableViaWiFi;
}

QString Reachability::text(NetworkStatus status)
{
    switch (status) {
    case ReachableViaWiFi:
        return u"WiFi"_s;
    case ReachableViaWWAN:
        return u"Cellular"_s;
    case NotReachable:
        break;
    }
    return u"No Connection"_s;
}

void Reachability::compare()
{
    const NetworkStatus status = currentReachabilityStatus();
    if (status == m_lastStatus)
        return;
    m_lastStatus = status;
    Q_EMIT changed(status);
}

} // namespace kelpay

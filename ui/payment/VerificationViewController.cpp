#include "VerificationViewController.h"

#include "platform/Deployment.h"

#include <QHostAddress>

namespace kelpay {

VerificationViewController::VerificationViewController(const QUrl &url, QObject *parent)
    : ViewController(QUrl(QStringLiteral("qrc:/qt/qml/KelPay/Payment/VerificationView.qml")), parent), m_url(url)
{}

bool VerificationViewController::canLoad() const
{
    return isBrowserReady() && !m_isAstray && isAllowed(m_url);
}

void VerificationViewController::follow(const QUrl &address)
{
    if (m_isAstray || isAllowed(address))
        return;
    m_isAstray = true;
    Q_EMIT canLoadChanged();
}

bool VerificationViewController::isAllowed(const QUrl &address)
{
    if (address.scheme() == QLatin1String("https"))
        return !address.host().isEmpty();
    const bool isLoopback = address.host() == QLatin1String("localhost") || QHostAddress(address.host()).isLoopback();
    return Deployment::isSandbox() && address.scheme() == QLatin1String("http") && isLoopback;
}

} // namespace kelpay

#include "VerificationViewController.h"

#include "platform/Deployment.h"

#include <QHostAddress>

namespace kelpay {

using namespace Qt::StringLiterals;

VerificationViewController::VerificationViewController(const QUrl &url, QObject *parent)
    : ViewController(QUrl(u"qrc:/qt/qml/KelPay/Payment/VerificationView.qml"_s), parent), m_url(url)
{}

bool VerificationViewController::canLoad() const
{
    return isBrowserReady() && !m_isAstray && isAllowed(m_url);
}

void VerificationViewController::follow(const QUrl &address)
{
    setHost({});
    if (m_isAstray || isAllowed(address))
        return;
    m_isAstray = true;
    Q_EMIT canLoadChanged();
}

void VerificationViewController::arrive(const QUrl &address)
{
    if (!m_isAstray && isAllowed(address))
        setHost(address.host(QUrl::EncodeUnicode));
}

void VerificationViewController::setHost(const QString &host)
{
    if (m_host == host)
        return;
    m_host = host;
    Q_EMIT hostChanged();
}

bool VerificationViewController::isAllowed(const QUrl &address)
{
    if (address.scheme() == "https"_L1)
        return !address.host().isEmpty();
    const bool isLoopback = address.host() == "localhost"_L1 || QHostAddress(address.host()).isLoopback();
    return Deployment::isSandbox() && address.scheme() == "http"_L1 && isLoopback;
}

} // namespace kelpay

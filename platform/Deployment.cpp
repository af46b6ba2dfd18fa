#include "Deployment.h"

#include "DeploymentConfig.h"

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

QString setting(const char *compiledIn, [[maybe_unused]] const char *variable)
{
    if constexpr (config::sandbox) {
        if (QString value = qEnvironmentVariable(variable); !value.isEmpty())
            return value;
    }
    return QString::fromUtf8(compiledIn);
}

} // namespace

QString Deployment::serviceHost()
{
    return setting(config::serviceHost, "KELPAY_SERVICE_HOST");
}

QUrl Deployment::serviceUrl(const QString &path)
{
    QUrl url;
    url.setScheme(u"https"_s);
    url.setHost(serviceHost());
    url.setPort(1443);
    url.setPath(path);
    return url;
}

QUrl Deployment::ipEchoUrl()
{
    return QUrl(setting(config::ipEcho, "KELPAY_IP_ECHO"));
}

QString Deployment::reachabilityHost()
{
    return QString::fromUtf8(config::reachabilityHost);
}

QStringList Deployment::expiryYears()
{
    return QString::fromUtf8(config::expiryYears).split(u' ', Qt::SkipEmptyParts);
}

QString Deployment::resourcesOverlay()
{
    return setting("", "KELPAY_RESOURCES");
}

bool Deployment::isSandbox() noexcept
{
    return config::sandbox;
}

QString Deployment::sdkVersion()
{
    return QString::fromUtf8(config::version);
}

} // namespace kelpay

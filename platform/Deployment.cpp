#include "Deployment.h"

#include "DeploymentConfig.h"

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

enum class Variable { ServiceHost, IpEcho, Resources };

// The names stand where a release has no code, so that it doesn't hold them at any level of optimisation.
QString setting(const char *compiledIn, [[maybe_unused]] Variable variable)
{
    if constexpr (config::sandbox) {
        const char *const name = variable == Variable::ServiceHost ? "KELPAY_SERVICE_HOST"
                                 : variable == Variable::IpEcho    ? "KELPAY_IP_ECHO"
                                                                   : "KELPAY_RESOURCES";
        if (QString value = qEnvironmentVariable(name); !value.isEmpty())
            return value;
    }
    return QString::fromUtf8(compiledIn);
}

} // namespace

QString Deployment::serviceHost()
{
    return setting(config::serviceHost, Variable::ServiceHost);
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
    return QUrl(setting(config::ipEcho, Variable::IpEcho));
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
    return setting("", Variable::Resources);
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

#pragma once

#include <QString>
#include <QStringList>
#include <QUrl>

namespace kelpay {

/// Where this build talks to. The values come from CMake; a sandbox build also obeys the environment variables
/// KELPAY_SERVICE_HOST (a host without port), KELPAY_IP_ECHO (a whole URL) and KELPAY_RESOURCES (a folder).
class Deployment
{
public:
    static QString serviceHost();
    /// "https://<service host>:1443" followed by `path`.
    static QUrl serviceUrl(const QString &path);
    /// A service that answers a GET on its root with the caller's address as plain text.
    static QUrl ipEchoUrl();
    /// A host whose reachability stands for that of the network.
    static QString reachabilityHost();
    /// Years of expiry that cards of this deployment have beyond the usual ten, two digits each.
    static QStringList expiryYears();
    /// The folder laid over the SDK's bundle at run time; "" for none. Always "" outside sandbox builds.
    static QString resourcesOverlay();
    /// True for a build that pays against the sandbox.
    static bool isSandbox() noexcept;
    /// The SDK's own short version, "1.0.0".
    static QString sdkVersion();
};

} // namespace kelpay

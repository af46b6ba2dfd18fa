#include "KernelRoutes.h"

namespace kelpay {

std::optional<QString> KernelRoutes::defaultInterface()
{
    // Addresses kept for documentation: no network has a route of its own to them, so the default route answers.
    if (auto interface = interfaceTo(QHostAddress(QStringLiteral("192.0.2.1"))))
        return interface;
    return interfaceTo(QHostAddress(QStringLiteral("2001:db8::1")));
}

} // namespace kelpay

#include "KernelRoutes.h"

namespace kelpay {

using namespace Qt::StringLiterals;

std::optional<QString> KernelRoutes::defaultInterface()
{
    // Addresses kept for documentation: no network has a route of its own to them, so the default route answers.
    if (auto interface = interfaceTo(QHostAddress(u"192.0.2.1"_s)))
        return interface;
    return interfaceTo(QHostAddress(u"2001:db8::1"_s));
}

} // namespace kelpay

#include "KernelRoutes.h"

namespace kelpay {

bool KernelRoutes::areKnown()
{
    return false;
}

std::optional<QString> KernelRoutes::interfaceTo(const QHostAddress &)
{
    return std::nullopt;
}

bool KernelRoutes::isCellular(const QString &)
{
    return false;
}

bool KernelRoutes::watch(QObject *, const std::function<void()> &)
{
    return false;
}

} // namespace kelpay

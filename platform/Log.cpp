#include "Log.h"

#include <atomic>
#include <cstdlib>

namespace kelpay {

Q_LOGGING_CATEGORY(logPlatform, "kelpay.platform")
Q_LOGGING_CATEGORY(logNetwork, "kelpay.network")
Q_LOGGING_CATEGORY(logSecurity, "kelpay.security")
Q_LOGGING_CATEGORY(logStore, "kelpay.store")
Q_LOGGING_CATEGORY(logDevice, "kelpay.device")
Q_LOGGING_CATEGORY(logScreen, "kelpay.screen")

namespace {
std::atomic<ProgrammingErrorHandler> handlerSlot{nullptr};
}

void programmingError(const QString &message)
{
    if (const auto handler = handlerSlot.load()) {
        handler(message);
        return;
    }
    qCCritical(logPlatform, "programming error: %s", qUtf8Printable(message));
    std::abort();
}

ProgrammingErrorHandler setProgrammingErrorHandler(ProgrammingErrorHandler handler)
{
    return handlerSlot.exchange(handler);
}

} // namespace kelpay

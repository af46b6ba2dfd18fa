#pragma once

#include <QLoggingCategory>

namespace kelpay {

// One category for each concern, all below "kelpay.". Nothing secret is ever logged: no card number, PIN, CVV2, key,
// token or envelope.
Q_DECLARE_LOGGING_CATEGORY(logPlatform)
Q_DECLARE_LOGGING_CATEGORY(logNetwork)
Q_DECLARE_LOGGING_CATEGORY(logSecurity)
Q_DECLARE_LOGGING_CATEGORY(logStore)
Q_DECLARE_LOGGING_CATEGORY(logDevice)
Q_DECLARE_LOGGING_CATEGORY(logScreen)

/// A mistake of the programmer who calls: something that must be there is not. Logs `message` (what is missing, what to
/// do) and ends the process, unless a handler was installed; when the handler returns, the caller gives its null result
/// and nothing is sent or called.
void programmingError(const QString &message);

using ProgrammingErrorHandler = void (*)(const QString &message);
/// Installs `handler` (null restores the default) and returns the former one. Any thread.
ProgrammingErrorHandler setProgrammingErrorHandler(ProgrammingErrorHandler handler);

} // namespace kelpay

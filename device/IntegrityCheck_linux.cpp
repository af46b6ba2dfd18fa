#include "IntegrityCheck.h"

#include "platform/SystemFacts.h"

#include <QFile>

#include <algorithm>
#include <array>
#include <mutex>
#include <sys/prctl.h>
#include <unistd.h>

namespace kelpay {

namespace {

QByteArray contents(const char *path)
{
    QFile file(QString::fromLatin1(path));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

bool IntegrityCheck::hasDebugger()
{
    const QByteArray status = contents("/proc/self/status");
    const qsizetype at = status.indexOf("\nTracerPid:");
    if (at < 0)
        return false;
    const qsizetype begin = at + qsizetype(sizeof("\nTracerPid:")) - 1;
    return status.mid(begin, status.indexOf('\n', begin) - begin).trimmed() != "0";
}

/// Asks the environment that the loader saw as well: what was loaded can have taken its traces out of the present one.
/// A process that nobody may trace can't read it.
bool IntegrityCheck::hasPreloadedLibraries()
{
    // Of the loader, of OpenSSL's providers and engines, of Qt's plugins and of QML's modules.
    constexpr std::array names{"LD_PRELOAD",       "LD_AUDIT",        "LD_LIBRARY_PATH", "OPENSSL_MODULES",
                               "OPENSSL_CONF",     "OPENSSL_ENGINES", "QT_PLUGIN_PATH",  "QT_QPA_PLATFORM_PLUGIN_PATH",
                               "QML2_IMPORT_PATH", "QML_IMPORT_PATH"};
    const QList<QByteArray> atStart = contents("/proc/self/environ").split('\0');
    const auto isSet = [&](const char *name) {
        return !qEnvironmentVariableIsEmpty(name) ||
               std::any_of(atStart.begin(), atStart.end(), [&](const QByteArray &variable) {
                   return variable.startsWith(QByteArray(name) + '=') && !variable.endsWith('=');
               });
    };
    return std::any_of(names.begin(), names.end(), isSet) || !contents("/etc/ld.so.preload").trimmed().isEmpty();
}

bool IntegrityCheck::isTraceable()
{
    const QByteArray scope = contents("/proc/sys/kernel/yama/ptrace_scope").trimmed();
    return ::prctl(PR_GET_DUMPABLE) == 1 && (scope.isEmpty() || scope == "0");
}

bool IntegrityCheck::isRoot()
{
    return ::geteuid() == 0;
}

QByteArray IntegrityCheck::board()
{
    // It stays what it is, and the kernel takes its time to describe its processors.
    static std::mutex mutex;
    static auto *const processors = new QByteArray;
    const std::scoped_lock lock(mutex);
    if (processors->isEmpty())
        *processors = contents("/proc/cpuinfo");
    return contents("/sys/firmware/devicetree/base/compatible") + *processors + SystemFacts::hardwareModel().toUtf8();
}

} // namespace kelpay

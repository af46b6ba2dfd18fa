#include "IntegrityCheck.h"

#include "platform/SystemFacts.h"

#include <QFile>

#include <algorithm>
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
    const QList<QByteArray> environment = contents("/proc/self/environ").split('\0');
    return !qEnvironmentVariableIsEmpty("LD_PRELOAD") || !qEnvironmentVariableIsEmpty("LD_AUDIT") ||
           std::any_of(environment.begin(), environment.end(),
                       [](const QByteArray &variable) {
                           return (variable.startsWith("LD_PRELOAD=") || variable.startsWith("LD_AUDIT=")) &&
                                  !variable.endsWith('=');
                       }) ||
           !contents("/etc/ld.so.preload").trimmed().isEmpty();
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
    return contents("/sys/firmware/devicetree/base/compatible") + contents("/proc/cpuinfo") +
           SystemFacts::hardwareModel().toUtf8();
}

} // namespace kelpay

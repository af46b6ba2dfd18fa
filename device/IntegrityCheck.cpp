#include "IntegrityCheck.h"

#include "LibrarySeal.h"
#include "platform/SystemFacts.h"

#include <QFile>
#include <QStringList>

#include <algorithm>
#include <array>
#include <atomic>
#include <sys/prctl.h>
#include <unistd.h>

namespace kelpay {

namespace {

enum class Override { None, Simulator, Device };
std::atomic<Override> simulatorOverride{Override::None};

QByteArray contents(const char *path)
{
    QFile file(QString::fromLatin1(path));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool hasDebugger()
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
bool hasPreloadedLibraries()
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

/// Any process of the same user may attach, unless the kernel restricts that or the process opted out.
bool isTraceable()
{
    const QByteArray scope = contents("/proc/sys/kernel/yama/ptrace_scope").trimmed();
    return ::prctl(PR_GET_DUMPABLE) == 1 && (scope.isEmpty() || scope == "0");
}

} // namespace

QString IntegrityCheck::verdict()
{
    QStringList findings;
    if (hasDebugger())
        findings << QStringLiteral("debugger");
    if (hasPreloadedLibraries())
        findings << QStringLiteral("preload");
    if (isTraceable())
        findings << QStringLiteral("traceable");
    if (::geteuid() == 0)
        findings << QStringLiteral("root");
    if (LibrarySeal::isBroken())
        findings << QStringLiteral("tampered");
    if (isSimulator())
        findings << QStringLiteral("emulator");
    return findings.join(QLatin1Char(','));
}

bool IntegrityCheck::isSimulator()
{
    switch (simulatorOverride.load()) {
    case Override::Simulator:
        return true;
    case Override::Device:
        return false;
    case Override::None:
        break;
    }
    return isEmulatorBoard(contents("/sys/firmware/devicetree/base/compatible") + contents("/proc/cpuinfo") +
                           SystemFacts::hardwareModel().toUtf8());
}

bool IntegrityCheck::isEmulatorBoard(const QByteArray &board)
{
    const QByteArray lower = board.toLower();
    constexpr std::array names{"goldfish", "ranchu", "android emulator", "sdk_gphone"};
    return std::any_of(names.begin(), names.end(), [&](const char *name) { return lower.contains(name); });
}

void IntegrityCheck::overrideSimulator(std::optional<bool> simulator)
{
    simulatorOverride = !simulator ? Override::None : *simulator ? Override::Simulator : Override::Device;
}

} // namespace kelpay

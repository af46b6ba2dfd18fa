#include "IntegrityCheck.h"

#include "LibrarySeal.h"

#include <QStringList>

#include <algorithm>
#include <array>
#include <atomic>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

enum class Override { None, Simulator, Device };
std::atomic<Override> simulatorOverride{Override::None};

} // namespace

QString IntegrityCheck::verdict()
{
    QStringList findings;
    if (hasDebugger())
        findings << u"debugger"_s;
    if (hasPreloadedLibraries())
        findings << u"preload"_s;
    if (isTraceable())
        findings << u"traceable"_s;
    if (isRoot())
        findings << u"root"_s;
    if (LibrarySeal::isBroken())
        findings << u"tampered"_s;
    if (isSimulator())
        findings << u"emulator"_s;
    return findings.join(u',');
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
    return isEmulatorBoard(board());
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

#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace kelpay {

/// Looks for signs that the process or the device is not what it seems. Any thread.
class IntegrityCheck
{
public:
    /// The findings, separated by ",", in this order; "" when nothing is found:
    /// "debugger" traces the process; "preload": the environment says to load more code than the program asks for, or
    /// from elsewhere: the loader, OpenSSL or Qt; "traceable": any process of this user may attach; "root" runs it;
    /// "tampered": the library is not the one that was built; "emulator": see isSimulator.
    static QString verdict();
    /// True in a device emulator. A virtual machine, a container or a build machine is none: kiosks run there.
    static bool isSimulator();
    /// Whether a board's description is one of those that device emulators present; the hypervisors that kiosks run on
    /// have other names.
    static bool isEmulatorBoard(const QByteArray &board);

    /// Makes isSimulator answer `simulator` whatever the machine; std::nullopt undoes it. For sandbox builds and tests.
    static void overrideSimulator(std::optional<bool> simulator);

private:
    // What each system tells in its own way; false and "" where it doesn't: no finding is a fact only where it does.
    static bool hasDebugger();
    static bool hasPreloadedLibraries();
    /// Any process of the same user may attach, unless the kernel restricts that or the process opted out.
    static bool isTraceable();
    static bool isRoot();
    /// The machine's description of itself, which isEmulatorBoard looks through.
    static QByteArray board();
};

} // namespace kelpay

#pragma once

#include <QString>

#include <optional>

namespace kelpay {

/// Looks for signs that the process or the device is not what it seems. Any thread.
class IntegrityCheck
{
public:
    /// The findings, separated by ",", in a fixed order; "" when nothing is found.
    static QString verdict();
    /// True in a device emulator. A virtual machine, a container or a build machine is none: kiosks run there.
    static bool isSimulator();

    /// Makes isSimulator answer `simulator` whatever the machine; std::nullopt undoes it. For sandbox builds and tests.
    static void overrideSimulator(std::optional<bool> simulator);
};

} // namespace kelpay

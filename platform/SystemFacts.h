#pragma once

#include <QByteArray>
#include <QString>

namespace kelpay {

/// What the system says of the host application and the machine. Texts are "" only where the system has none. Any
/// thread once the application object exists.
class SystemFacts
{
public:
    enum class Chassis { Desktop, Laptop, Tablet, Handset, Other };

    /// The host's identifier: the desktop file name, else the reversed organisation domain with the application name,
    /// else the application name.
    static QString hostIdentifier();
    /// The host's short version, "" when the host set none.
    static QString hostVersion();
    /// The kind of machine ("Desktop", "Tablet", ...) in the locale's language.
    static QString localizedModel();
    /// A stable upper-case UUID of this machine for this host application, not reversible to the machine's id; a random
    /// one, another each time, where the machine has no id: who asks keeps it.
    static QString vendorIdentifier();

    // What each system tells in its own way. Where nothing is known: what Qt knows, Chassis::Other, no identifier.

    /// The machine's own model name: DMI or device tree, else the kernel's machine name.
    static QString hardwareModel();
    /// The operating system's version ("12"), else the kernel's.
    static QString systemVersion();
    /// The pretty host name, else the host name.
    static QString deviceName();
    static Chassis chassis();

private:
    /// An id that stays with the machine, "" where it has none. Never leaves the process as it is.
    static QByteArray machineIdentifier();
};

} // namespace kelpay

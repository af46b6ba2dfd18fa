#pragma once

#include <QString>

namespace kelpay {

/// What the system says of the host application and the machine. Texts are "" only where the system has none. Any
/// thread once the application object exists.
class SystemFacts
{
public:
    /// The host's identifier: the desktop file name, else the reversed organisation domain with the application name,
    /// else the application name.
    static QString hostIdentifier();
    /// The host's short version, "" when the host set none.
    static QString hostVersion();
    /// The machine's own model name: DMI or device tree, else the kernel's machine name.
    static QString hardwareModel();
    /// The operating system's version ("12"), else the kernel's.
    static QString systemVersion();
    /// The pretty host name, else the host name.
    static QString deviceName();
    /// The kind of machine ("desktop", "tablet", ...) in the locale's language.
    static QString localizedModel();
    /// A stable upper-case UUID of this machine for this host application, not reversible to the machine's id; a random
    /// one where the machine has no id.
    static QString vendorIdentifier();
};

} // namespace kelpay

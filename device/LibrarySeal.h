#pragma once

namespace kelpay {

/// The shared library's hash over its own code and constants, written into it when it was built
/// (cmake/seal-library). It tells a patched file and patched memory, not an attacker who writes a new seal as well.
class LibrarySeal
{
public:
    /// True when what is loaded is not what was built, or was never sealed. Always false where the SDK is part of the
    /// program itself, which has no library to look at, and where the build makes no seals. Reads all of the library's
    /// code; any thread.
    static bool isBroken();
};

} // namespace kelpay

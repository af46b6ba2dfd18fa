#pragma once

#include <QString>

#include <chrono>

namespace kelpay {

/// Whether a D-Bus daemon at `address` (its first "unix:" part; nothing is ever started) greets within `limit`. To be
/// asked before Qt connects: Qt's connecting has no limit of its own, and the end of the process waits for it. Blocks;
/// any thread. Always false where the build knows no D-Bus.
bool busGreets(const QString &address, std::chrono::milliseconds limit);

} // namespace kelpay

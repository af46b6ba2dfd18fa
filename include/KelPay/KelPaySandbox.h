#pragma once

#include "KelPayCore.h"

namespace kelpay::sandbox {

// What a host of a sandbox build may bend, for demonstrations and tests. A release build has none of it.

/// Makes the integrity check report a simulated device, or a real one.
KELPAY_EXPORT void setSimulator(bool simulator);

/// Countdowns started from now on run `rate` times as fast.
KELPAY_EXPORT void setClockRate(double rate);

} // namespace kelpay::sandbox

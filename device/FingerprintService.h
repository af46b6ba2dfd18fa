#pragma once

#include <QString>

namespace kelpay {

/// Asks the system's fingerprint service about this user: on Linux fprintd on the system bus (DBUS_SYSTEM_BUS_ADDRESS).
/// Blocks, two seconds in all at most where the bus answers or is mute from the start. Any thread.
class FingerprintService
{
public:
    struct Answer
    {
        bool hasEnrolledPrints = false;
        QString reason; ///< why there are none to use; "" when there are
    };

    static Answer ask();
};

} // namespace kelpay

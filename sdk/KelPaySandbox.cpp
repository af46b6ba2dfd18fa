#include <KelPay/KelPaySandbox.h>

#include "device/IntegrityCheck.h"
#include "platform/Ticker.h"

namespace kelpay::sandbox {

void setSimulator(bool simulator)
{
    IntegrityCheck::overrideSimulator(simulator);
}

void setClockRate(double rate)
{
    Ticker::setRate(rate);
}

} // namespace kelpay::sandbox

#include <KelPay/KelPaySandbox.h>

#include "device/IntegrityCheck.h"
#include "platform/Log.h"
#include "platform/Ticker.h"

#include <QCoreApplication>

namespace kelpay {

static void sayWhatThisIs()
{
    qCWarning(logPlatform,
              "this is a sandbox build of KelPay: it pays against kelpay-sandbox and obeys KELPAY_* variables");
}
Q_COREAPP_STARTUP_FUNCTION(sayWhatThisIs)

} // namespace kelpay

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

// What happens once when an application that links the SDK starts.

#include "device/HostProfile.h"
#include "platform/Dispatch.h"
#include "protocol/Attempt.h"
#include "ui/components/RootViewController.h"
#include <KelPay/KelPayCore.h>

#include <QCoreApplication>

namespace kelpay {

using namespace std::chrono_literals;

/// The screens say their last word, what they said is delivered, and after that nobody calls the host.
static void deliverLastWords()
{
    Dispatch::setShuttingDown(true);
    // No screen follows any more.
    if (const auto attempt = Attempt::current())
        attempt->withdraw();
    RootViewController::removeAllScreens();
    // What a background task tells, the main queue delivers, and a background task writes down.
    Dispatch::waitForGlobal(1500ms);
    Dispatch::waitForGlobal(500ms);
    HostProfile::setClosed(true);
}

static void endWithApplication()
{
    QObject::connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, deliverLastWords);
}

Q_COREAPP_STARTUP_FUNCTION(endWithApplication)

} // namespace kelpay

/// What cmake/KelPayAnchor.cpp holds on to; never called.
extern "C" KELPAY_EXPORT void kelpay_anchor();
void kelpay_anchor() {}

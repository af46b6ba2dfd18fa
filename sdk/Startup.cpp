// What happens once when an application that links the SDK starts.

#include "device/HostProfile.h"
#include "platform/Dispatch.h"
#include "ui/components/Fonts.h"
#include "ui/components/RootViewController.h"

#include <QGuiApplication>

namespace kelpay {

namespace {

void registerFonts()
{
    // Registering a font without a GUI application crashes; a console host has no use for one.
    if (qobject_cast<QGuiApplication *>(QCoreApplication::instance()))
        loadFonts();
}

} // namespace

/// The screens say their last word; after that nobody calls the host.
void endWithApplication()
{
    QObject::connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, [] {
        if (qobject_cast<QGuiApplication *>(QCoreApplication::instance()))
            RootViewController::shared().removeScreens();
        Dispatch::waitForGlobal(std::chrono::seconds(2));
        HostProfile::shared().setClosed(true);
    });
}

Q_COREAPP_STARTUP_FUNCTION(registerFonts)
Q_COREAPP_STARTUP_FUNCTION(endWithApplication)

} // namespace kelpay

// What happens once when an application that links the SDK starts.

#include "ui/components/Fonts.h"

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

Q_COREAPP_STARTUP_FUNCTION(registerFonts)

} // namespace kelpay

// What happens once when an application that links the SDK starts.

#include "KelPay/KelPayCore.h"

#include <QFont>
#include <QGuiApplication>

namespace kelpay {

namespace {

/// Registers the font. The other names by which the screens ask for it are faces of the same family.
void registerFonts()
{
    // Registering a font without a GUI application crashes; a console host has no use for one.
    if (!qobject_cast<QGuiApplication *>(QCoreApplication::instance()))
        return;
    const QString family = QStringLiteral("Vazirmatn UI FD");
    for (const auto *name : {"irsansbold", "IRANSansFaNum-Medium", "IRANSansMobile(FaNum)"}) {
        KelPayCore::loadFontWithName(QString::fromLatin1(name));
        QFont::insertSubstitution(QString::fromLatin1(name), family);
    }
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(registerFonts)

} // namespace kelpay

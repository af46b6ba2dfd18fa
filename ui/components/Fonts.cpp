#include "Fonts.h"

#include "platform/Bundle.h"

#include <QFont>
#include <QFontDatabase>

namespace kelpay {

using namespace Qt::StringLiterals;

void loadFont(const QString &name)
{
    if (const auto font = Bundle::sdk().dataForResource(name, u"ttf"_s))
        QFontDatabase::addApplicationFontFromData(font->toByteArray());
}

void loadFonts()
{
    for (const auto *name : {"irsansbold", "IRANSansFaNum-Medium", "IRANSansMobile(FaNum)"}) {
        loadFont(QString::fromLatin1(name));
        // The bundle's files are faces of one family.
        QFont::insertSubstitution(QString::fromLatin1(name), u"Vazirmatn UI FD"_s);
    }
}

} // namespace kelpay

#include "ViewUtils.h"

#include "ui/components/RootViewController.h"
#include "ui/components/Storyboard.h"

namespace kelpay {

using namespace Qt::StringLiterals;

const Storyboard &ViewUtils::returnStoryboard()
{
    return Storyboard::main();
}

ViewController *ViewUtils::topMostViewController()
{
    ViewController *controller = &RootViewController::shared();
    while (controller->presentedViewController())
        controller = controller->presentedViewController();
    return controller;
}

QColor ViewUtils::colorFromHexString(const QString &string)
{
    quint32 value = 0;
    for (const QChar character : string.mid(1)) {
        bool isDigit = false;
        const uint digit = QString(character).toUInt(&isDigit, 16);
        if (!isDigit)
            break;
        value = value > 0x0fffffff ? 0xffffffff : value << 4 | digit;
    }
    return QColor::fromRgb(static_cast<int>(value >> 16 & 0xff), static_cast<int>(value >> 8 & 0xff),
                           static_cast<int>(value & 0xff));
}

QColor ViewUtils::blueKELColor()
{
    return colorFromHexString(u"#153F8F"_s);
}

QColor ViewUtils::magentaKELColor()
{
    return colorFromHexString(u"#d4006f"_s);
}

} // namespace kelpay

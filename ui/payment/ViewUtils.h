#pragma once

#include <QColor>
#include <QString>

namespace kelpay {

class Storyboard;
class ViewController;

/// What the entry point and the screens share. Main queue, except the colours: any thread.
class ViewUtils
{
public:
    /// The storyboard "Main" of the SDK's bundle.
    static const Storyboard &returnStoryboard();
    /// The root controller of the host's active window, or the last of the chain presented over it; never null.
    static ViewController *topMostViewController();
    /// The opaque colour "#RRGGBB"; the first character is skipped unread, what is no hexadecimal number is black.
    static QColor colorFromHexString(const QString &string);
    static QColor blueKELColor();
    static QColor magentaKELColor();
};

} // namespace kelpay

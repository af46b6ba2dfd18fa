#pragma once

#include <QString>
#include <Qt>

class QQuickItem;
class QQuickWindow;

namespace kelpay::testing {

/// Eyes and hands: finds items by name in any window of the application, and touches them with the events
/// that a mouse and a keyboard make.
class Screen
{
public:
    /// The item named `name` that a person can see; null when there is none.
    static QQuickItem *find(const QString &name);
    /// True when it can be seen and used.
    static bool isReady(const QString &name);

    enum class Touch { Mouse, Finger };
    /// Clicks in the item's middle, `down` of its height from its top, after scrolling it into view. False when it
    /// can't be seen.
    static bool click(const QString &name, Touch touch, qreal down = 0.5);
    static void click(QQuickItem *item, Touch touch, qreal down = 0.5);
    /// What has the keyboard; null when nothing has.
    static QQuickItem *focused();
    static void type(const QString &text);
    static void press(Qt::Key key);

    /// Saves what the window shows as `path`.
    static bool save(const QString &path);

    /// The window that has the focus, else the first that can be seen.
    static QQuickWindow *window();

private:
    static void scrollIntoView(QQuickItem *item, Touch touch);
};

} // namespace kelpay::testing

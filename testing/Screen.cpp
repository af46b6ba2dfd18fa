#include "Screen.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QImage>
#include <QPointingDevice>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>
#include <QWheelEvent>

#include <utility>

namespace kelpay::testing {

using namespace Qt::StringLiterals;

namespace {

bool canBeSeen(const QQuickItem *item)
{
    if (!item->isVisible())
        return false;
    for (const QQuickItem *at = item; at; at = at->parentItem()) {
        if (at->opacity() < 0.1)
            return false;
    }
    return true;
}

QQuickItem *findBelow(QQuickItem *parent, const QString &name)
{
    // What the SDK only makes ready.
    if (parent->objectName() == "kelpayRehearsal"_L1)
        return nullptr;
    // Later children lie on top, and what lies on top is what a person sees.
    const QList<QQuickItem *> children = parent->childItems();
    for (auto child = children.rbegin(); child != children.rend(); ++child) {
        if (QQuickItem *found = findBelow(*child, name))
            return found;
    }
    return parent->objectName() == name && canBeSeen(parent) ? parent : nullptr;
}

/// A touch screen, from the first finger on.
QPointingDevice *finger()
{
    static QPointingDevice *const device = QTest::createTouchDevice();
    return device;
}

void turnWheel(QQuickItem *flickable, int by)
{
    const QPointF at = flickable->mapToScene(QPointF(flickable->width() / 2, flickable->height() / 2));
    QWheelEvent wheel(at, flickable->window()->mapToGlobal(at), QPoint(0, by), QPoint(0, by), Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(flickable->window(), &wheel);
}

/// Along the edge, where no button is.
void drag(QQuickItem *flickable, int by)
{
    const QPoint from = flickable->mapToScene(QPointF(6, flickable->height() / 2)).toPoint();
    QTest::touchEvent(flickable->window(), finger()).press(0, from);
    for (int step = 1; step <= 6; ++step) {
        QTest::qWait(15);
        QTest::touchEvent(flickable->window(), finger()).move(0, from + QPoint(0, by * step / 6));
    }
    QTest::qWait(100);
    QTest::touchEvent(flickable->window(), finger()).release(0, from + QPoint(0, by));
}

} // namespace

QQuickItem *Screen::find(const QString &name)
{
    const QWindowList windows = QGuiApplication::topLevelWindows();
    for (QWindow *window : windows) {
        auto *quick = qobject_cast<QQuickWindow *>(window);
        if (!quick || !quick->isVisible())
            continue;
        if (QQuickItem *item = findBelow(quick->contentItem(), name))
            return item;
    }
    return nullptr;
}

bool Screen::isReady(const QString &name)
{
    const QQuickItem *item = find(name);
    return item && item->isEnabled() && item->width() > 0;
}

void Screen::scrollIntoView(QQuickItem *item, Touch touch)
{
    QQuickItem *flickable = item->parentItem();
    while (flickable && !flickable->inherits("QQuickFlickable"))
        flickable = flickable->parentItem();
    for (int step = 0; flickable && step < 40; ++step) {
        const QPointF centre = item->mapToItem(flickable, QPointF(item->width() / 2, item->height() / 2));
        if (centre.y() > 8 && centre.y() < flickable->height() - 8)
            return;
        const int by = centre.y() > 8 ? -60 : 60;
        if (touch == Touch::Finger)
            drag(flickable, by);
        else
            turnWheel(flickable, by);
        QTest::qWait(20);
    }
}

bool Screen::click(const QString &name, Touch touch, qreal down)
{
    QQuickItem *item = find(name);
    if (!item)
        return false;
    // Nobody clicks what still moves: a form that scrolls, or makes room for an on-screen keyboard.
    const auto stands = [item, at = QPointF()]() mutable {
        const QPointF now = item->mapToScene({});
        QTest::qWait(60);
        return std::exchange(at, now) == now;
    };
    scrollIntoView(item, touch);
    (void)QTest::qWaitFor(stands, 2000);
    scrollIntoView(item, touch);
    (void)QTest::qWaitFor(stands, 2000);
    click(item, touch, down);
    return true;
}

void Screen::click(QQuickItem *item, Touch touch, qreal down)
{
    const QPoint at = item->mapToScene(QPointF(item->width() / 2, item->height() * down)).toPoint();
    if (touch == Touch::Mouse) {
        QTest::mouseClick(item->window(), Qt::LeftButton, Qt::NoModifier, at);
        return;
    }
    QTest::touchEvent(item->window(), finger()).press(0, at);
    QTest::qWait(60);
    QTest::touchEvent(item->window(), finger()).release(0, at);
}

QQuickItem *Screen::focused()
{
    const QQuickWindow *shown = window();
    return shown ? shown->activeFocusItem() : nullptr;
}

void Screen::type(const QString &text)
{
    for (const QChar character : text)
        QTest::sendKeyEvent(QTest::Click, window(), Qt::Key(character.unicode()), character, Qt::NoModifier);
}

void Screen::press(Qt::Key key)
{
    QTest::keyClick(window(), key);
}

QQuickWindow *Screen::window()
{
    if (auto *focused = qobject_cast<QQuickWindow *>(QGuiApplication::focusWindow()))
        return focused;
    const QWindowList windows = QGuiApplication::topLevelWindows();
    for (QWindow *window : windows) {
        if (auto *quick = qobject_cast<QQuickWindow *>(window); quick && quick->isVisible())
            return quick;
    }
    return nullptr;
}

bool Screen::save(const QString &path)
{
    QQuickWindow *shown = window();
    return shown && shown->grabWindow().save(path);
}

} // namespace kelpay::testing

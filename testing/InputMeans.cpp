#include "InputMeans.h"

#include "Screen.h"

#include <QAccessible>
#include <QGuiApplication>
#include <QInputMethod>
#include <QMap>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>

#include <memory>
#include <vector>

namespace kelpay::testing {

using namespace Qt::StringLiterals;

namespace {

QString rowName(int row)
{
    return u"panRow%1"_s.arg(row);
}

class Pointer : public InputMeans
{
public:
    explicit Pointer(Screen::Touch touch) : m_touch(touch) {}

protected:
    bool focus(const QString &name) override { return Screen::click(name, m_touch); }
    bool press(const QString &name) override { return Screen::click(name, m_touch); }
    /// On the row above or below the middle.
    void turn(const QString &wheel, bool forward) override { Screen::click(wheel, m_touch, forward ? 5. / 6 : 1. / 6); }
    void pick(int row) override { Screen::click(rowName(row), m_touch); }

private:
    Screen::Touch m_touch;
};

/// A pointer, and Qt's own on-screen keyboard at the window's bottom; QT_IM_MODULE must name it.
class OnScreen : public Pointer
{
public:
    OnScreen() : Pointer(Screen::Touch::Mouse)
    {
        QQmlComponent component(&m_engine);
        // Wider than a phone's window, because its height follows from its width.
        component.setData("import QtQuick\nimport QtQuick.VirtualKeyboard\n"
                          "InputPanel { required property Item place; parent: place; z: 2000000\n"
                          "    width: Math.max(640, place.width); x: (place.width - width) / 2\n"
                          "    y: active ? place.height - height : place.height }",
                          {});
        m_panel.reset(qobject_cast<QQuickItem *>(component.createWithInitialProperties(
            {{u"place"_s, QVariant::fromValue(Screen::window()->contentItem())}})));
        if (!m_panel)
            qWarning("no on-screen keyboard: %s", qPrintable(component.errorString()));
    }

private:
    /// Puts the keyboard away first, as its own key for that does.
    bool press(const QString &name) override
    {
        if (QGuiApplication::inputMethod()->isVisible()) {
            QGuiApplication::inputMethod()->hide();
            QTest::qWait(600);
        }
        return Pointer::press(name);
    }
    void type(const QString &digits) override
    {
        for (const QChar digit : digits) {
            QQuickItem *key = nullptr;
            if (!m_panel || !QTest::qWaitFor([&] { return (key = find(m_panel.get(), digit)) != nullptr; }, 3000))
                return;
            QTest::qWait(60);
            Screen::click(key, Screen::Touch::Mouse);
        }
    }
    static QQuickItem *find(QQuickItem *below, const QString &text)
    {
        if (!below->isVisible())
            return nullptr;
        if (QByteArray(below->metaObject()->className()).startsWith("Key_") && below->property("text") == text)
            return below;
        for (QQuickItem *child : below->childItems()) {
            if (QQuickItem *key = find(child, text))
                return key;
        }
        return nullptr;
    }

    QQmlEngine m_engine;
    std::unique_ptr<QQuickItem> m_panel;
};

/// Tab until the focus is there, then the space bar.
class Keyboard : public InputMeans
{
    bool focus(const QString &name) override
    {
        for (int turn = 0; turn < 40; ++turn) {
            if (const QQuickItem *item = Screen::focused(); item && item->objectName() == name)
                return true;
            Screen::press(Qt::Key_Tab);
            QTest::qWait(20);
        }
        qWarning("the keyboard never reaches %s", qPrintable(name));
        return false;
    }
    bool press(const QString &name) override
    {
        if (!focus(name))
            return false;
        Screen::press(Qt::Key_Space);
        return true;
    }
};

/// Looks through the accessibility tree for what a screen reader would read out, and asks it to act.
class ScreenReader : public InputMeans
{
    bool focus(const QString &name) override
    {
        return act(name, {QAccessibleActionInterface::setFocusAction(), QAccessibleActionInterface::pressAction()});
    }
    bool press(const QString &name) override { return act(name, {QAccessibleActionInterface::pressAction()}); }
    void turn(const QString &wheel, bool forward) override
    {
        act(wheel,
            {forward ? QAccessibleActionInterface::increaseAction() : QAccessibleActionInterface::decreaseAction()});
    }
    void pick(int row) override { press(rowName(row)); }

    static bool act(const QString &name, const QStringList &actions)
    {
        const QString spoken = spokenName(name);
        QAccessibleInterface *node = spoken.isEmpty() ? nullptr : find(spoken);
        QAccessibleActionInterface *doer = node ? node->actionInterface() : nullptr;
        for (const QString &action : actions) {
            if (doer && doer->actionNames().contains(action)) {
                doer->doAction(action);
                return true;
            }
        }
        qWarning("the accessibility tree has no \"%s\" that can be used", qPrintable(name));
        return false;
    }

    /// What an item of the screens is called for somebody who can't see it; a button by its text.
    static QString spokenName(const QString &name)
    {
        static const QMap<QString, QString> fields{
            {u"cardNumberTextField"_s, u"شماره کارت"_s},
            {u"passwordTextField"_s, u"رمز دوم"_s},
            {u"cvvTwoTextField"_s, u"CVV2"_s},
            {u"expirationDateTextField"_s, u"تاریخ انقضا"_s},
            {u"yearTumbler"_s, u"سال"_s},
            {u"monthTumbler"_s, u"ماه"_s},
        };
        QQuickItem *item = Screen::find(name);
        if (!item || fields.contains(name))
            return fields.value(name);
        const QString text = item->property("text").toString();
        const QAccessibleInterface *node = text.isEmpty() ? QAccessible::queryAccessibleInterface(item) : nullptr;
        return node ? node->text(QAccessible::Name) : text;
    }

    static bool isUsable(const QAccessible::State &state)
    {
        return state.focusable && !state.disabled && !state.invisible;
    }

    static QAccessibleInterface *find(const QString &spoken)
    {
        std::vector<QAccessibleInterface *> open{QAccessible::queryAccessibleInterface(Screen::window())};
        while (!open.empty()) {
            QAccessibleInterface *node = open.back();
            open.pop_back();
            if (node->text(QAccessible::Name) == spoken && isUsable(node->state()))
                return node;
            for (int child = 0; child < node->childCount(); ++child)
                open.push_back(node->child(child));
        }
        return nullptr;
    }
};

} // namespace

void InputMeans::type(const QString &digits)
{
    Screen::type(digits);
}

void InputMeans::turn(const QString &wheel, bool forward)
{
    focus(wheel);
    Screen::press(forward ? Qt::Key_Down : Qt::Key_Up);
}

void InputMeans::pick(int row)
{
    for (int step = 0; step < row; ++step) {
        Screen::press(Qt::Key_Down);
        QTest::qWait(250);
    }
    Screen::press(Qt::Key_Return);
}

InputMeans &InputMeans::of(Payer::Means means)
{
    static Pointer pointer(Screen::Touch::Mouse);
    switch (means) {
    case Payer::Means::Pointer:
        break;
    case Payer::Means::Touch: {
        static Pointer finger(Screen::Touch::Finger);
        return finger;
    }
    case Payer::Means::Keyboard: {
        static Keyboard keyboard;
        return keyboard;
    }
    case Payer::Means::ScreenReader: {
        static ScreenReader screenReader;
        QAccessible::setActive(true); // as the arrival of a screen reader does
        return screenReader;
    }
    case Payer::Means::OnScreenKeyboard: {
        static OnScreen onScreen;
        return onScreen;
    }
    }
    return pointer;
}

} // namespace kelpay::testing

#include "Hands.h"

#include "Screen.h"

#include <QAccessible>
#include <QGuiApplication>
#include <QMap>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>

#include <vector>

namespace {

class Pointer : public Hands
{
    bool focus(const QString &name) override { return Screen::click(name); }
    bool press(const QString &name) override { return Screen::click(name); }
};

/// Tab until the focus is there, then the space bar.
class Keyboard : public Hands
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
class ScreenReader : public Hands
{
    bool focus(const QString &name) override
    {
        return act(name, {QAccessibleActionInterface::setFocusAction(), QAccessibleActionInterface::pressAction()});
    }
    bool press(const QString &name) override { return act(name, {QAccessibleActionInterface::pressAction()}); }

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
            {QStringLiteral("cardNumberTextField"), QStringLiteral("شماره کارت")},
            {QStringLiteral("passwordTextField"), QStringLiteral("رمز دوم")},
            {QStringLiteral("cvvTwoTextField"), QStringLiteral("CVV2")},
            {QStringLiteral("expirationDateTextField"), QStringLiteral("تاریخ انقضا")},
            {QStringLiteral("yearTumbler"), QStringLiteral("سال")},
            {QStringLiteral("monthTumbler"), QStringLiteral("ماه")},
        };
        const QQuickItem *item = Screen::find(name);
        return fields.value(name, item ? item->property("text").toString() : QString());
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

Hands &Hands::of(const QString &kind)
{
    static Pointer pointer;
    static Keyboard keyboard;
    static ScreenReader screenReader;
    if (kind == QStringLiteral("keyboard"))
        return keyboard;
    if (kind == QStringLiteral("accessibility")) {
        QAccessible::setActive(true); // as the arrival of a screen reader does
        return screenReader;
    }
    return pointer;
}

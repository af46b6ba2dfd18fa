#pragma once

#include <QString>

/// How the driver reaches what it has found: each kind stands for a person who can do nothing else.
class InputMeans
{
public:
    virtual ~InputMeans() = default;
    /// Puts the focus on the item named `name`; false when it can't be reached.
    virtual bool focus(const QString &name) = 0;
    /// Does what a click on the item does.
    virtual bool press(const QString &name) = 0;
    /// Enters digits where the focus is; with a keyboard's keys, unless there is none.
    virtual void type(const QString &digits);
    /// Turns a wheel by one row.
    virtual void turn(const QString &wheel, bool forward);
    /// Picks a row of the saved cards.
    virtual void pick(int row);

    /// "pointer", "touch", "keyboard", "accessibility", or "on-screen": a pointer, and an on-screen keyboard's keys.
    static InputMeans &of(const QString &kind);
};

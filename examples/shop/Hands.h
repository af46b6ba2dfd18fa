#pragma once

#include <QString>

/// How the driver reaches what it has found: each kind stands for a person who can do nothing else. All of them type
/// with the keyboard.
class Hands
{
public:
    virtual ~Hands() = default;
    /// Puts the focus on the item named `name`; false when it can't be reached.
    virtual bool focus(const QString &name) = 0;
    /// Does what a click on the item does.
    virtual bool press(const QString &name) = 0;

    /// "pointer", "keyboard" or "accessibility".
    static Hands &of(const QString &kind);
};

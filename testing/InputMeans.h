#pragma once

#include <KelPay/Testing.h>

namespace kelpay::testing {

/// How a payer reaches what was found.
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

    static InputMeans &of(Payer::Means means);
};

} // namespace kelpay::testing

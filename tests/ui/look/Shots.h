#pragma once

#include "tests/ui/Screens.h"
#include "ui/components/Appearance.h"

#include <QImage>
#include <QSize>

#include <vector>

namespace kelpay {

/// Brings the real screens into a state and draws them, the same at every run: no motion, a still cursor and spinner,
/// a fixed time.
class Shots : public ScreenTest
{
public:
    /// One state of the screens.
    struct State
    {
        const char *name;
        void (Shots::*reach)();
        qreal textScale = 1;
    };
    static const std::vector<State> &states();

    /// The state in a window of this size.
    static QImage take(const State &state, QSize size, bool isDark);

private:
    void TestBody() override {}

    void simple();
    void full();
    void filled();
    void editing();
    void fault();
    void refused();
    void banner();
    void progress();
    void expiry();
    void savedCards();
    void fixedCard();
    void wallet();
    void leaving();
    void lastMinute();
    void verification();
    void paid();
    void declined();
    void longTexts();

    void fill();
    void receipt(const QJsonObject &token, const QJsonObject &answer, bool ok);
    QImage draw();

    PaymentViewController *m_screen = nullptr;
};

} // namespace kelpay

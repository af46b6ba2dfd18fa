#include "Shots.h"

#include <QTest>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

const QString cardField = u"cardNumberTextField"_s;
const QString pinField = u"passwordTextField"_s;
const QString cvvField = u"cvvTwoTextField"_s;
const QString expiryField = u"expirationDateTextField"_s;
const QString card = u"6037991234567893"_s;
const QJsonObject fullForm{{u"ta"_s, u"NA"_s}};
const QString cards = u"1.n.603799******7893.0402;2.d.621986******1046.;3.n.627412******5502.0511;"
                      u"4.n.610433******2210.0106;5.n.589463******0038.9908;"_s;

} // namespace

const std::vector<Shots::State> &Shots::states()
{
    static const std::vector<State> all{
        {"payment-simple", &Shots::simple},
        {"payment-full", &Shots::full},
        {"payment-filled", &Shots::filled},
        {"payment-editing", &Shots::editing},
        {"payment-fault", &Shots::fault},
        {"payment-refused", &Shots::refused},
        {"payment-banner", &Shots::banner},
        {"payment-progress", &Shots::progress},
        {"payment-expiry", &Shots::expiry},
        {"payment-saved-cards", &Shots::savedCards},
        {"payment-fixed-card", &Shots::fixedCard},
        {"payment-wallet", &Shots::wallet},
        {"payment-leaving", &Shots::leaving},
        {"payment-last-minute", &Shots::lastMinute},
        {"verification-fault", &Shots::verification},
        {"receipt-paid", &Shots::paid},
        {"receipt-declined", &Shots::declined},
        {"receipt-long", &Shots::longTexts},
        {"large-payment", &Shots::filled, 2},
        {"large-fault", &Shots::fault, 2},
        {"large-expiry", &Shots::expiry, 2},
        {"large-saved-cards", &Shots::savedCards, 2},
        {"large-wallet", &Shots::wallet, 2},
        {"large-receipt", &Shots::paid, 2},
    };
    return all;
}

QImage Shots::take(const State &state, QSize size, bool isDark)
{
    Appearance::shared().pin({isDark, true, state.textScale});
    Shots shots;
    shots.window()->resize(size);
    (shots.*state.reach)();
    return shots.draw();
}

QImage Shots::draw()
{
    if (QQuickItem *time = item(u"timeLabel"_s))
        time->setProperty("text",
                          m_screen && m_screen->isLastMinute() ? u"0 دقیقه و 42 ثانیه"_s : u"9 دقیقه و 41 ثانیه"_s);
    if (QQuickItem *spinner = item(u"spinner"_s)) {
        spinner->setProperty("turning", false);
        spinner->setProperty("step", 2);
    }
    QTest::mouseMove(window(), {0, 0}); // nothing is hovered
    settle(60);
    return window()->grabWindow();
}

void Shots::simple()
{
    storeToken();
    m_screen = presentPayment();
}

void Shots::full()
{
    storeToken(fullForm);
    m_screen = presentPayment();
}

void Shots::fill()
{
    for (const auto &[field, text] :
         {std::pair(cardField, card), std::pair(cvvField, u"739"_s), std::pair(pinField, u"73912"_s)}) {
        item(field)->forceActiveFocus();
        type(text);
    }
    m_screen->form()->selectExpiry(7, 4);
}

void Shots::filled()
{
    full();
    fill();
    item(u"payButton"_s)->forceActiveFocus();
}

void Shots::editing()
{
    full();
    item(cardField)->forceActiveFocus();
    type(card.left(11));
}

void Shots::fault()
{
    full();
    item(cardField)->forceActiveFocus();
    type(card.left(15) + u'0');
    item(pinField)->forceActiveFocus();
    settle(2700); // until the banner has gone
}

void Shots::refused()
{
    simple();
    item(cardField)->forceActiveFocus();
    type(card + u'1');
}

void Shots::banner()
{
    simple();
    m_screen->verifyPayment();
}

void Shots::progress()
{
    full();
    fill();
    m_screen->verifyPayment();
}

void Shots::expiry()
{
    full();
    item(expiryField)->forceActiveFocus();
    QTest::keyClick(window(), Qt::Key_Space);
    settle(50);
    for (int row = 0; row < 6; ++row)
        QTest::keyClick(window(), Qt::Key_Down);
    settle();
}

void Shots::savedCards()
{
    storeToken({{u"pl"_s, cards}});
    m_screen = presentPayment();
    item(cardField)->forceActiveFocus();
    settle(50);
    click(u"savedCardsButton"_s);
    QTest::keyClick(window(), Qt::Key_Down);
}

void Shots::fixedCard()
{
    storeToken({{u"pl"_s, cards}, {u"ldc"_s, u"true"_s}});
    m_screen = presentPayment();
}

void Shots::wallet()
{
    storeToken({{u"wb"_s, u"5400000"_s}});
    m_screen = presentPayment();
}

void Shots::leaving()
{
    simple();
    m_screen->escapePressed();
}

void Shots::lastMinute()
{
    simple();
    for (int tick = 0; tick < 560; ++tick)
        m_screen->timerFired();
}

void Shots::verification()
{
    storeToken({{u"vu"_s, u"ftp://shop.example/"_s}});
    m_screen = presentPayment();
    m_screen->openVerifyURL();
    settle(50);
}

void Shots::receipt(const QJsonObject &token, const QJsonObject &answered, bool ok)
{
    storeToken(token);
    m_screen = presentPayment();
    m_screen->form()->setCardNumber(card);
    m_screen->form()->setSecret(CardForm::Pin, u"73912");
    m_screen->verifyPayment();
    storePaymentAnswer(answered);
    answer(ok, u"پیام"_s, u"51"_s);
}

void Shots::paid()
{
    receipt({}, paidAnswer(), true);
}

void Shots::declined()
{
    receipt({}, {{u"rc"_s, 51}, {u"ds"_s, u"موجودی حساب کافی نیست."_s}}, false);
}

void Shots::longTexts()
{
    QJsonObject answered = paidAnswer();
    answered[u"rd"_s] =
        QJsonObject{{u"urn"_s, u"140509011000000000004711"_s}, {u"mrn"_s, u"MRN-2026-11-22-0000000000000042"_s}};
    receipt({{u"mn"_s,
              u"فروشگاه زنجیره‌ای کالای خانه و آشپزخانه، شعبهٔ میدان "
              u"ونک"_s},
             {u"amn"_s, u"1250000000000"_s}},
            answered, true);
}

} // namespace kelpay

#include "Shots.h"

#include <QTest>

namespace kelpay {

namespace {

const QString cardField = QStringLiteral("cardNumberTextField");
const QString pinField = QStringLiteral("passwordTextField");
const QString cvvField = QStringLiteral("cvvTwoTextField");
const QString expiryField = QStringLiteral("expirationDateTextField");
const QString card = QStringLiteral("6037991234567893");
const QJsonObject fullForm{{QStringLiteral("ta"), QStringLiteral("NA")}};
const QString cards = QStringLiteral("1.n.603799******7893.0402;2.d.621986******1046.;3.n.627412******5502.0511;"
                                     "4.n.610433******2210.0106;5.n.589463******0038.9908;");

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
    if (QQuickItem *time = item(QStringLiteral("timeLabel")))
        time->setProperty("text", m_screen && m_screen->isLastMinute() ? QStringLiteral("0 دقیقه و 42 ثانیه")
                                                                       : QStringLiteral("9 دقیقه و 41 ثانیه"));
    if (QQuickItem *spinner = item(QStringLiteral("spinner"))) {
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
    for (const auto &[field, text] : {std::pair(cardField, card), std::pair(cvvField, QStringLiteral("739")),
                                      std::pair(pinField, QStringLiteral("73912"))}) {
        item(field)->forceActiveFocus();
        type(text);
    }
    m_screen->form()->selectExpiry(7, 4);
}

void Shots::filled()
{
    full();
    fill();
    item(QStringLiteral("payButton"))->forceActiveFocus();
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
    storeToken({{QStringLiteral("pl"), cards}});
    m_screen = presentPayment();
    item(cardField)->forceActiveFocus();
    settle(50);
    click(QStringLiteral("savedCardsButton"));
    QTest::keyClick(window(), Qt::Key_Down);
}

void Shots::fixedCard()
{
    storeToken({{QStringLiteral("pl"), cards}, {QStringLiteral("ldc"), QStringLiteral("true")}});
    m_screen = presentPayment();
}

void Shots::wallet()
{
    storeToken({{QStringLiteral("wb"), QStringLiteral("5400000")}});
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
    storeToken({{QStringLiteral("vu"), QStringLiteral("ftp://shop.example/")}});
    m_screen = presentPayment();
    m_screen->openVerifyURL();
    settle(50);
}

void Shots::receipt(const QJsonObject &token, const QJsonObject &answered, bool ok)
{
    storeToken(token);
    m_screen = presentPayment();
    m_screen->form()->setCardNumber(card);
    m_screen->form()->setPin(QStringLiteral("73912"));
    m_screen->verifyPayment();
    storePaymentAnswer(answered);
    answer(ok, QStringLiteral("پیام"), QStringLiteral("51"));
}

void Shots::paid()
{
    receipt({}, paidAnswer(), true);
}

void Shots::declined()
{
    receipt({}, {{QStringLiteral("rc"), 51}, {QStringLiteral("ds"), QStringLiteral("موجودی حساب کافی نیست.")}}, false);
}

void Shots::longTexts()
{
    QJsonObject answered = paidAnswer();
    answered[QStringLiteral("rd")] =
        QJsonObject{{QStringLiteral("urn"), QStringLiteral("140509011000000000004711")},
                    {QStringLiteral("mrn"), QStringLiteral("MRN-2026-11-22-0000000000000042")}};
    receipt({{QStringLiteral("mn"),
              QStringLiteral(
                  "فروشگاه زنجیره‌ای کالای خانه و آشپزخانه، شعبهٔ میدان "
                  "ونک")},
             {QStringLiteral("amn"), QStringLiteral("1250000000000")}},
            answered, true);
}

} // namespace kelpay

#include "Screens.h"

#include <QAccessible>
#include <QTest>
#include <private/qguiapplication_p.h>
#include <qpa/qplatformaccessibility.h>
#include <qpa/qplatformintegration.h>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

/// Keeps what a screen reader is told: the names of the alerts, in their order.
class AnnouncementTest : public ScreenTest
{
protected:
    AnnouncementTest()
    {
        // What a screen reader's arrival does; events are dropped before that.
        QGuiApplicationPrivate::platformIntegration()->accessibility()->setActive(true);
        heard.clear();
        QAccessible::installUpdateHandler([](QAccessibleEvent *event) {
            if (event->type() == QAccessible::Focus && event->accessibleInterface()->state().focused)
                heard.append(event->accessibleInterface()->text(QAccessible::Name));
            if (event->type() != QAccessible::Alert)
                return;
            QAccessibleInterface *alert = event->accessibleInterface();
            EXPECT_EQ(alert->role(), QAccessible::AlertMessage);
            EXPECT_FALSE(alert->state().invisible);
            heard.append(alert->text(QAccessible::Name));
        });
    }
    ~AnnouncementTest() override
    {
        QAccessible::installUpdateHandler(nullptr);
        QGuiApplicationPrivate::platformIntegration()->accessibility()->setActive(false);
    }

    void expectHeard(const char *text)
    {
        EXPECT_TRUE(waitFor([text] { return heard.contains(QString::fromUtf8(text)); }))
            << text << "; heard: " << qPrintable(heard.join(u" / "_s));
        heard.clear();
    }

    inline static QStringList heard;
};

TEST_F(AnnouncementTest, tellsWhatThePersonMustKnow)
{
    storeToken();
    PaymentViewController *screen = presentPayment();
    click(u"cardNumberTextField"_s);
    type(u"x"_s);
    expectHeard("فقط رقم وارد کنید؛ بدون فاصله و نشانه");
    type(u"x"_s);
    expectHeard("فقط رقم وارد کنید؛ بدون فاصله و نشانه");
    type(u"6037991234567890"_s);
    QTest::keyClick(window(), Qt::Key_Tab);
    expectHeard("شماره کارت وارد شده صحیح نمیباشد");
    settle(2800); // The banner of the number goes first.
    click(u"payButton"_s);
    expectHeard("ورودی ها را بررسی کنید.");

    for (int tick = 0; tick < 541; ++tick)
        screen->timerFired();
    expectHeard("کمتر از یک دقیقه تا پایان زمان پرداخت مانده است");

    screen->form()->setCardNumber(u"6037991234567893"_s);
    screen->form()->setSecret(CardForm::Pin, u"12345");
    screen->verifyPayment();
    expectHeard("در حال بررسی پرداخت");
    storePaymentAnswer({{u"rc"_s, 51}});
    answer(false, u"پیام"_s, u"51"_s);
    expectHeard("پرداخت ناموفق");
}

TEST_F(AnnouncementTest, tellsTheSavedCardThatIsReached)
{
    storeToken({{u"pl"_s, u"11.n.603799******1234.0512;"_s}});
    presentPayment();
    click(u"cardNumberTextField"_s);
    click(u"savedCardsButton"_s);
    heard.clear();
    QTest::keyClick(window(), Qt::Key_Down);
    EXPECT_TRUE(waitFor([] { return !heard.isEmpty() && heard.last().startsWith(u"603799******1234"_s); }))
        << qPrintable(heard.join(u" / "_s));
}

TEST_F(AnnouncementTest, tellsThatTheTimeIsOver)
{
    storeToken();
    PaymentViewController *screen = presentPayment();
    for (int tick = 0; tick < 602; ++tick)
        screen->timerFired();
    expectHeard("مدت زمان تراکنش به پایان رسید");
}

} // namespace
} // namespace kelpay

#include "Screens.h"

#include "device/HostProfile.h"
#include "protocol/Attempt.h"
#include "sdk/Payment.h"
#include <KelPay/KelPayCore.h>

#include <QCoreApplication>
#include <QTest>
#include <QTimer>

namespace kelpay {
namespace {

using namespace Qt::StringLiterals;

class EndsOfLifeTest : public ScreenTest
{
protected:
    EndsOfLifeTest()
    {
        HostProfile::shared().setClosed(false);
        for (const UnsettledAttempt &listed : KelPayCore::unsettledAttempts())
            KelPayCore::settleAttempt(listed.identifier);
        storePaymentAnswer(paidAnswer());
        show();
    }
    void show()
    {
        storeToken();
        screen = presentPayment();
        screen->form()->setCardNumber(u"6037991234567893"_s);
        screen->form()->setSecret(CardForm::Pin, u"12345");
    }
    void pay()
    {
        screen->verifyPayment();
        ASSERT_TRUE(attempt);
    }
    /// What a background thread does with a submission; false where it may not leave.
    bool send() const
    {
        attempt->asking(true, u"1234"_s);
        return attempt->leave(true);
    }
    void fallSilent()
    {
        attempt->landed();
        attempt->fellSilent(true, Attempt::Silence::Unknown);
        settle(20);
    }
    static void quit()
    {
        QTimer::singleShot(0, [] { QCoreApplication::exit(); });
        QCoreApplication::exec();
    }
    QStringList codes() const
    {
        QStringList all;
        for (const Told &told : outcomes())
            all.append(told.code);
        return all;
    }
    /// The ledger's view once nothing is under way.
    size_t listed()
    {
        if (attempt)
            attempt->landed();
        EXPECT_TRUE(waitFor([] { return !KelPayCore::sharedInstance().isBusy(); }));
        return KelPayCore::unsettledAttempts().size();
    }

    PaymentViewController *screen = nullptr;
};

enum class Until { Entered, Submitted, Sent, Silent, Receipt, ReceiptCloses };
enum class End { WindowDestroyed, Quit, Abandoned };

/// A payment that got as far as `phase` and ends there.
struct Life
{
    const char *name;
    Until phase;
    End end;
    QStringList codes;
    size_t listed;
};

class EndsOfALife : public EndsOfLifeTest, public testing::WithParamInterface<Life>
{
};

TEST_P(EndsOfALife, TellsTheHostAtMostOnce)
{
    const Life &life = GetParam();
    if (life.phase >= Until::Submitted)
        pay();
    if (life.phase == Until::Sent || life.phase == Until::Silent) {
        ASSERT_TRUE(send());
    }
    if (life.phase == Until::Silent)
        fallSilent();
    if (life.phase >= Until::Receipt)
        answer(true, {}, u"0"_s);
    if (life.phase == Until::ReceiptCloses)
        click(u"doneButton"_s);

    if (life.end == End::WindowDestroyed)
        loseWindow();
    else if (life.end == End::Quit)
        quit();
    else
        KelPayCore::sharedInstance().abandon();
    if (life.end != End::Quit) // which leaves no time
        settle();
    EXPECT_EQ(codes(), life.codes);
    settle();
    EXPECT_EQ(codes(), life.codes);
    EXPECT_FALSE(navigation());
    if (life.phase == Until::Submitted) {
        EXPECT_FALSE(send()) << "a payment leaves that nobody waits for";
    }
    EXPECT_EQ(listed(), life.listed);
}

const QStringList none;
const QStringList success{u"1"_s};

INSTANTIATE_TEST_SUITE_P(
    All, EndsOfALife,
    testing::Values(Life{"window lost while entering", Until::Entered, End::WindowDestroyed, none, 0},
                    Life{"quit while entering", Until::Entered, End::Quit, none, 0},
                    Life{"abandoned while entering", Until::Entered, End::Abandoned, none, 0},
                    Life{"window lost before it left", Until::Submitted, End::WindowDestroyed, none, 0},
                    Life{"quit before it left", Until::Submitted, End::Quit, none, 0},
                    Life{"abandoned before it left", Until::Submitted, End::Abandoned, none, 0},
                    Life{"window lost on the way", Until::Sent, End::WindowDestroyed, none, 1},
                    Life{"quit on the way", Until::Sent, End::Quit, none, 1},
                    Life{"abandoned on the way", Until::Sent, End::Abandoned, none, 1},
                    Life{"window lost in the silence", Until::Silent, End::WindowDestroyed, none, 1},
                    Life{"quit in the silence", Until::Silent, End::Quit, none, 1},
                    Life{"abandoned in the silence", Until::Silent, End::Abandoned, none, 1},
                    Life{"window lost over the receipt", Until::Receipt, End::WindowDestroyed, success, 0},
                    Life{"quit over the receipt", Until::Receipt, End::Quit, success, 0},
                    Life{"abandoned over the receipt", Until::Receipt, End::Abandoned, none, 1},
                    Life{"window lost as the receipt closes", Until::ReceiptCloses, End::WindowDestroyed, success, 0},
                    Life{"quit as the receipt closes", Until::ReceiptCloses, End::Quit, success, 0}),
    [](const auto &life) {
        std::string name = life.param.name;
        std::replace(name.begin(), name.end(), ' ', '_');
        return name;
    });

TEST_F(EndsOfLifeTest, AHiddenWindowKeepsItsPayment)
{
    for (const bool closes : {false, true}) {
        closes ? void(window()->close()) : window()->hide();
        settle(50);
        ASSERT_TRUE(navigation());
        window()->show();
    }
    pay();
    window()->hide();
    answer(true, {}, u"0"_s);
    window()->show();
    settle();
    click(u"doneButton"_s);
    ASSERT_TRUE(waitFor([this] { return codes() == success; }));
    EXPECT_EQ(listed(), 0U);
}

TEST_F(EndsOfLifeTest, ADoubleClickPaysOnce)
{
    const QQuickItem *button = item(u"payButton"_s);
    const QPoint centre = button->mapToScene(QPointF(button->width() / 2, button->height() / 2)).toPoint();
    QTest::mouseClick(window(), Qt::LeftButton, {}, centre);
    QTest::mouseDClick(window(), Qt::LeftButton, {}, centre);
    settle();
    EXPECT_EQ(sent.size(), 1);
}

TEST_F(EndsOfLifeTest, WhatIsReportedBeforeItLeavesNeverDoes)
{
    pay();
    screen->cancelPayment();
    EXPECT_FALSE(send());
    settle();
    EXPECT_EQ(codes(), QStringList{u"2525342"_s});
    EXPECT_EQ(listed(), 0U);
}

TEST_F(EndsOfLifeTest, TheTimeRunsOutBeforeAtAndAfterTheSubmission)
{
    enum { BeforeIt, AtIt, AfterIt };
    for (const auto when : {BeforeIt, AtIt, AfterIt}) {
        if (when != BeforeIt)
            show();
        sent.clear();
        for (int tick = 0; tick < 601; ++tick)
            screen->timerFired();
        if (when != BeforeIt)
            pay();
        if (when == AfterIt) {
            EXPECT_TRUE(send());
        }
        for (int tick = 0; tick < 3; ++tick)
            screen->timerFired();
        if (when == BeforeIt)
            screen->verifyPayment();
        if (when == AtIt) {
            EXPECT_FALSE(send());
        }
        settle();
        EXPECT_EQ(sent.size(), when == BeforeIt ? 0 : 1);
        EXPECT_EQ(codes().size(), when + 1);
        EXPECT_EQ(codes().back(), u"2525343"_s);
        EXPECT_EQ(listed(), when == AfterIt ? 1U : 0U);
    }
}

/// The outcome that a QML host hears through its item.
TEST_F(EndsOfLifeTest, AnItemTellsTheOutcomeBeforeItCountsAsTold)
{
    for (const bool quits : {false, true}) {
        KelPayCore::sharedInstance().abandon();
        // Nobody is there.
        qputenv("KELPAY_SERVICE_HOST", "127.0.0.250");
        qputenv("KELPAY_IP_ECHO", "https://127.0.0.250:1443/");
        Payment payment;
        payment.setProperty("merchantId", u"1234"_s);
        payment.start({}, {}, {});
        ASSERT_TRUE(waitFor([] { return !KelPayCore::sharedInstance().isBusy(); }));
        show();
        pay();
        answer(true, {}, u"0"_s);
        std::vector<size_t> listedWhenTold;
        QObject::connect(&payment, &Payment::finished, &payment,
                         [&] { listedWhenTold.push_back(AttemptLedger::shared().unsettled().size()); });
        if (quits) { // which leaves no time
            quit();
        } else {
            click(u"doneButton"_s);
            settle();
        }
        EXPECT_EQ(listedWhenTold, std::vector<size_t>{1}) << quits;
        EXPECT_EQ(listed(), 0U);
    }
}

} // namespace
} // namespace kelpay

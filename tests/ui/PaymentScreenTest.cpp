#include "Screens.h"

#include "platform/UserDefaults.h"
#include "ui/components/ProgressOverlay.h"
#include "ui/receipt/ReceiptViewController.h"

namespace kelpay {
namespace {

const QString wb = QStringLiteral("wb");

class PaymentScreenTest : public ScreenTest
{
protected:
    static void fill(PaymentViewController &screen)
    {
        screen.form()->setCardNumber(QStringLiteral("6037991234567893"));
        screen.form()->setPin(QStringLiteral("12345"));
    }
    void expectOutcome(const char *code, const QString &description)
    {
        ASSERT_EQ(outcomes().size(), 1U);
        EXPECT_EQ(outcomes()[0].code, QString::fromLatin1(code));
        EXPECT_EQ(outcomes()[0].description, description);
        EXPECT_FALSE(outcomes()[0].success);
        EXPECT_TRUE(outcomes()[0].onMain);
        EXPECT_EQ(outcomes()[0].reference + outcomes()[0].merchantReference, QString());
    }
};

TEST_F(PaymentScreenTest, showsTheTokenAnswer)
{
    storeToken({{QStringLiteral("amn"), 1250000}, {QStringLiteral("ttl"), QJsonValue::Null}});
    PaymentViewController *screen = presentPayment();
    EXPECT_EQ(screen->amountText(), QStringLiteral("1,250,000 ریال"));
    EXPECT_EQ(screen->merchantText(), QStringLiteral(" فروشگاه"));
    EXPECT_EQ(screen->detailText(), QStringLiteral(" "));
    EXPECT_EQ(UserDefaults::standard().integer(QStringLiteral("ard")), 77);
    EXPECT_FALSE(ProgressOverlay::isShown());
    EXPECT_TRUE(screen->form()->isSimple());
}

TEST_F(PaymentScreenTest, showsTheServicesTextsHarmlessly)
{
    const QString image = QStringLiteral("<img src='http://127.0.0.1:9/x.png'><b>1 ریال</b>");
    storeToken({{QStringLiteral("mn"), image + QString(1'000'000, u'x')},
                {QStringLiteral("ttl"), QStringLiteral("a\u202E b\nc\u0007\u2067d")}});
    PaymentViewController *screen = presentPayment();
    EXPECT_EQ(screen->detailText(), QStringLiteral(" a b cd"));
    EXPECT_EQ(screen->merchantText().size(), 402);
    for (const auto *label : {"merchantLabel", "detailLabel"})
        EXPECT_EQ(item(QString::fromLatin1(label))->property("textFormat").toInt(), 0) << label << " is plain text";
    EXPECT_TRUE(item(QStringLiteral("cardNumberTextField")));
}

TEST_F(PaymentScreenTest, choosesTheFormByTheTerminal)
{
    const struct
    {
        QJsonValue ta;
        const char *amount;
        bool simple;
    } cases[] = {{QStringLiteral("NA"), "100", false},
                 {QStringLiteral("NA"), "3000000", false},
                 {QStringLiteral("T1"), "3000000", true},
                 {QJsonValue(QJsonValue::Null), "100", true}};
    for (const auto &[ta, amount, simple] : cases) {
        storeToken({{QStringLiteral("ta"), ta}, {QStringLiteral("amn"), QString::fromLatin1(amount)}});
        PaymentViewController screen;
        screen.viewDidLoad();
        EXPECT_EQ(screen.form()->isSimple(), simple) << amount;
    }
}

TEST_F(PaymentScreenTest, putsTheLastDefaultCardInPlace)
{
    const QString pl = QStringLiteral("1.d.603799***1.0101;2.d.621986***2.0202;3.n.610433***3.0303;");
    for (const bool fixed : {false, true}) {
        storeToken({{QStringLiteral("pl"), pl}, {QStringLiteral("ldc"), fixed ? QStringLiteral("true") : QString()}});
        PaymentViewController screen;
        screen.viewDidLoad();
        EXPECT_EQ(screen.form()->card(), QStringLiteral("2"));
        EXPECT_EQ(screen.form()->isCardNumberEnabled(), !fixed);
        EXPECT_EQ(screen.form()->cardNumber(), fixed ? QStringLiteral("621986***2") : QString());
        EXPECT_EQ(screen.form()->expiration(), QString());
        EXPECT_EQ(screen.delegational()->panArray().size(), 4);
    }
    storeToken();
    PaymentViewController screen;
    screen.viewDidLoad();
    EXPECT_EQ(screen.delegational()->panArray().size(), 1) << "another payer's cards stay";
}

TEST_F(PaymentScreenTest, paysOnceAndOpensTheReceipt)
{
    storeToken();
    PaymentViewController *screen = presentPayment();
    screen->verifyPayment();
    EXPECT_TRUE(sent.isEmpty());
    EXPECT_EQ(screen->banner()->message(), QStringLiteral("ورودی ها را بررسی کنید."));
    EXPECT_FALSE(screen->isButtonedOrNeah());
    EXPECT_FALSE(ProgressOverlay::isShown());

    screen->form()->setPin(QStringLiteral("123"));
    screen->verifyPayment();
    EXPECT_EQ(screen->form()->pin(), QStringLiteral("123")) << "a failed check empties nothing";

    fill(*screen);
    screen->verifyPayment();
    screen->verifyPayment();
    EXPECT_EQ(sent, QStringList{QStringLiteral("501|tok|6037991234567893|12345|5|NA|NA|R9|T1")});
    EXPECT_EQ(ProgressOverlay::status(), QStringLiteral("در حال بررسی پرداخت"));
    EXPECT_EQ(UserDefaults::standard().string(QStringLiteral("crn")), QStringLiteral("6037991234567893"));
    EXPECT_EQ(screen->form()->pin(), QString());

    storePaymentAnswer({{QStringLiteral("rc"), 51}, {QStringLiteral("ds"), QStringLiteral("موجودی کافی نیست")}});
    answer(false, QStringLiteral("پیام"), QStringLiteral("51"));
    const auto *receipt = qobject_cast<ReceiptViewController *>(navigation()->topViewController());
    ASSERT_TRUE(receipt);
    EXPECT_EQ(receipt->input().dsc, QStringLiteral("موجودی کافی نیست"));
    EXPECT_EQ(receipt->input().callbackCode, QStringLiteral("51"));
    EXPECT_EQ(receipt->input().callbackDescription, QStringLiteral("پیام"));
    EXPECT_EQ(receipt->input().amn, screen->amountText());
    EXPECT_EQ(receipt->input().mrc, screen->merchantText());
    EXPECT_FALSE(screen->isButtonedOrNeah());
    EXPECT_TRUE(outcomes().empty());
}

TEST_F(PaymentScreenTest, offersTheWalletAndSendsOnePayment)
{
    for (const QJsonValue &none : {QJsonValue(QStringLiteral("NA")), QJsonValue(QJsonValue::Null)}) {
        storeToken({{wb, none}});
        PaymentViewController screen;
        screen.viewDidLoad();
        EXPECT_FALSE(screen.walletAlert()->isShown());
    }
    storeToken({{wb, QStringLiteral("5400000")}});
    PaymentViewController *screen = presentPayment();
    ASSERT_TRUE(screen->walletAlert()->isShown());
    EXPECT_EQ(screen->walletAlert()->message(),
              QStringLiteral("موجودی کیف پول شما: 5,400,000 ریال\n آیا تمایل به پرداخت مبلغ با کیف پول را دارید؟"));
    screen->walletAlert()->press(0);
    screen->walletAlert()->press(0);
    fill(*screen);
    screen->verifyPayment();
    EXPECT_EQ(sent, QStringList{QStringLiteral("501|tok|NA|NA|99|NA|NA|R9|T1")});
    EXPECT_TRUE(screen->isWallety());
}

TEST_F(PaymentScreenTest, goesOnWithTheCardWhenTheWalletIsDeclined)
{
    storeToken({{wb, QStringLiteral("5400000")}});
    PaymentViewController *screen = presentPayment();
    screen->walletAlert()->pressCancel();
    EXPECT_FALSE(screen->walletAlert()->isShown());
    fill(*screen);
    screen->verifyPayment();
    ASSERT_EQ(sent.size(), 1);
    EXPECT_TRUE(sent[0].contains(QStringLiteral("|12345|5|")));
}

TEST_F(PaymentScreenTest, reportsACancelOnceAndDropsALateAnswer)
{
    storeToken();
    PaymentViewController *screen = presentPayment();
    fill(*screen);
    screen->verifyPayment();
    screen->cancelPayment();
    screen->cancelPayment();
    screen->openVerifyURL();
    answer(true, {}, QStringLiteral("0"));
    settle(2200);
    expectOutcome("2525342", QStringLiteral("کاربر از انجام تراکنش منصرف شد"));
    EXPECT_FALSE(navigation());
}

TEST_F(PaymentScreenTest, closingAsksWhereSomethingWouldBeLost)
{
    storeToken();
    PaymentViewController *screen = presentPayment();
    screen->form()->setPin(QStringLiteral("1"));
    const auto asks = [screen] {
        screen->closeRequested();
        const bool isAsking = screen->leaveAlert()->isShown();
        screen->leaveAlert()->dismiss();
        return isAsking;
    };
    EXPECT_TRUE(asks()) << "something is typed";
    fill(*screen);
    screen->verifyPayment();
    EXPECT_TRUE(asks()) << "a payment is on its way";
    attempt->fellSilent(true, Attempt::Silence::Unknown);
    settle(20);
    EXPECT_TRUE(asks()) << "nobody knows what came of it";
    EXPECT_TRUE(outcomes().empty());

    navigation()->dismiss(false);
    settle();
    storeToken();
    screen = presentPayment();
    screen->closeRequested();
    settle();
    EXPECT_EQ(outcomes().size(), 1U) << "nothing would be lost";
}

TEST_F(PaymentScreenTest, endsWithTheCountdown)
{
    storeToken();
    PaymentViewController *screen = presentPayment();
    for (int tick = 0; tick < 601; ++tick)
        screen->timerFired();
    EXPECT_TRUE(outcomes().empty());
    for (int tick = 0; tick < 3; ++tick)
        screen->timerFired();
    settle();
    expectOutcome("2525343", QStringLiteral("مدت زمان تراکنش به پایان رسید"));
    EXPECT_FALSE(navigation());
}

TEST_F(PaymentScreenTest, endsTwoSecondsAfterAMissingVerificationLink)
{
    storeToken();
    PaymentViewController *screen = presentPayment();
    screen->openVerifyURL();
    screen->openVerifyURL();
    fill(*screen);
    screen->verifyPayment();
    EXPECT_TRUE(sent.isEmpty()) << "a payment must not start once the screen is about to end without one";
    EXPECT_EQ(screen->banner()->message(), QStringLiteral("پذیرنده نامعتبر میباشد"));
    settle(1500);
    EXPECT_TRUE(outcomes().empty());
    settle(1200);
    expectOutcome("2525344", QStringLiteral("پذیرنده نامعتبر"));
}

TEST_F(PaymentScreenTest, pushesTheVerificationPageAndRefusesOtherAddresses)
{
    storeToken({{QStringLiteral("vu"), QStringLiteral("ftp://shop.example/")}});
    PaymentViewController *screen = presentPayment();
    click(QStringLiteral("verifyButton"));
    EXPECT_EQ(navigation()->viewControllers().size(), 2U);
    EXPECT_TRUE(item(QStringLiteral("verificationFault")));
    click(QStringLiteral("backButton"));
    EXPECT_EQ(navigation()->topViewController(), screen);
    EXPECT_TRUE(outcomes().empty());
}

} // namespace
} // namespace kelpay

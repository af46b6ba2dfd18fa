#include "Screens.h"

#include "platform/UserDefaults.h"
#include "ui/components/ProgressOverlay.h"
#include "ui/receipt/ReceiptViewController.h"

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

const QString wb = u"wb"_s;

class PaymentScreenTest : public ScreenTest
{
protected:
    static void fill(PaymentViewController &screen)
    {
        screen.form()->setCardNumber(u"6037991234567893"_s);
        screen.form()->setSecret(CardForm::Pin, u"12345");
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
    storeToken({{u"amn"_s, 1250000}, {u"ttl"_s, QJsonValue::Null}});
    PaymentViewController *screen = presentPayment();
    EXPECT_EQ(screen->amountText(), u"1,250,000 ریال"_s);
    EXPECT_EQ(screen->merchantText(), u" فروشگاه"_s);
    EXPECT_EQ(screen->detailText(), u" "_s);
    EXPECT_EQ(UserDefaults::standard().integer(u"ard"_s), 77);
    EXPECT_FALSE(ProgressOverlay::isShown());
    EXPECT_TRUE(screen->form()->isSimple());
}

TEST_F(PaymentScreenTest, showsTheServicesTextsHarmlessly)
{
    const QString image = u"<img src='http://127.0.0.1:9/x.png'><b>1 ریال</b>"_s;
    storeToken({{u"mn"_s, image + QString(1'000'000, u'x')}, {u"ttl"_s, u"a\u202E b\nc\u0007\u2067d"_s}});
    PaymentViewController *screen = presentPayment();
    EXPECT_EQ(screen->detailText(), u" a b cd"_s);
    EXPECT_EQ(screen->merchantText().size(), 402);
    for (const auto *label : {"merchantLabel", "detailLabel"})
        EXPECT_EQ(item(QString::fromLatin1(label))->property("textFormat").toInt(), 0) << label << " is plain text";
    EXPECT_TRUE(item(u"cardNumberTextField"_s));
}

TEST_F(PaymentScreenTest, choosesTheFormByTheTerminal)
{
    const struct
    {
        QJsonValue ta;
        const char *amount;
        bool simple;
    } cases[] = {{u"NA"_s, "100", false},
                 {u"NA"_s, "3000000", false},
                 {u"T1"_s, "3000000", true},
                 {QJsonValue(QJsonValue::Null), "100", true}};
    for (const auto &[ta, amount, simple] : cases) {
        storeToken({{u"ta"_s, ta}, {u"amn"_s, QString::fromLatin1(amount)}});
        PaymentViewController screen;
        screen.viewDidLoad();
        EXPECT_EQ(screen.form()->isSimple(), simple) << amount;
    }
}

TEST_F(PaymentScreenTest, putsTheLastDefaultCardInPlace)
{
    const QString pl = u"1.d.603799***1.0101;2.d.621986***2.0202;3.n.610433***3.0303;"_s;
    for (const bool fixed : {false, true}) {
        storeToken({{u"pl"_s, pl}, {u"ldc"_s, fixed ? u"true"_s : QString()}});
        PaymentViewController screen;
        screen.viewDidLoad();
        EXPECT_EQ(screen.form()->card(), u"2"_s);
        EXPECT_EQ(screen.form()->isCardNumberEnabled(), !fixed);
        EXPECT_EQ(screen.form()->cardNumber(), fixed ? u"621986***2"_s : QString());
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
    EXPECT_EQ(screen->banner()->message(), u"ورودی ها را بررسی کنید."_s);
    EXPECT_FALSE(screen->isButtonedOrNeah());
    EXPECT_FALSE(ProgressOverlay::isShown());

    screen->form()->setSecret(CardForm::Pin, u"123");
    screen->verifyPayment();
    EXPECT_EQ(screen->form()->pin(), "123") << "a failed check empties nothing";

    fill(*screen);
    screen->verifyPayment();
    screen->verifyPayment();
    EXPECT_EQ(sent, QStringList{u"501|tok|6037991234567893|12345|5|NA|NA|R9|T1"_s});
    EXPECT_EQ(ProgressOverlay::status(), u"در حال بررسی پرداخت"_s);
    EXPECT_EQ(UserDefaults::standard().string(u"crn"_s), u"6037991234567893"_s);
    EXPECT_EQ(screen->form()->pin(), "");

    storePaymentAnswer({{u"rc"_s, 51}, {u"ds"_s, u"موجودی کافی نیست"_s}});
    answer(false, u"پیام"_s, u"51"_s);
    const auto *receipt = qobject_cast<ReceiptViewController *>(navigation()->topViewController());
    ASSERT_TRUE(receipt);
    EXPECT_EQ(receipt->input().dsc, u"موجودی کافی نیست"_s);
    EXPECT_EQ(receipt->input().callbackCode, u"51"_s);
    EXPECT_EQ(receipt->input().callbackDescription, u"پیام"_s);
    EXPECT_EQ(receipt->input().amn, screen->amountText());
    EXPECT_EQ(receipt->input().mrc, screen->merchantText());
    EXPECT_FALSE(screen->isButtonedOrNeah());
    EXPECT_TRUE(outcomes().empty());
}

TEST_F(PaymentScreenTest, offersTheWalletAndSendsOnePayment)
{
    for (const QJsonValue &none : {QJsonValue(u"NA"_s), QJsonValue(QJsonValue::Null)}) {
        storeToken({{wb, none}});
        PaymentViewController screen;
        screen.viewDidLoad();
        EXPECT_FALSE(screen.walletAlert()->isShown());
    }
    storeToken({{wb, u"5400000"_s}});
    PaymentViewController *screen = presentPayment();
    ASSERT_TRUE(screen->walletAlert()->isShown());
    EXPECT_EQ(screen->walletAlert()->message(),
              u"موجودی کیف پول شما: 5,400,000 ریال\n آیا تمایل به پرداخت مبلغ با کیف پول را دارید؟"_s);
    screen->walletAlert()->press(0);
    screen->walletAlert()->press(0);
    fill(*screen);
    screen->verifyPayment();
    EXPECT_EQ(sent, QStringList{u"501|tok|NA|NA|99|NA|NA|R9|T1"_s});
    EXPECT_TRUE(screen->isWallety());
}

TEST_F(PaymentScreenTest, goesOnWithTheCardWhenTheWalletIsDeclined)
{
    storeToken({{wb, u"5400000"_s}});
    PaymentViewController *screen = presentPayment();
    screen->walletAlert()->pressCancel();
    EXPECT_FALSE(screen->walletAlert()->isShown());
    fill(*screen);
    screen->verifyPayment();
    ASSERT_EQ(sent.size(), 1);
    EXPECT_TRUE(sent[0].contains(u"|12345|5|"_s));
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
    answer(true, {}, u"0"_s);
    settle(2200);
    expectOutcome("2525342", u"کاربر از انجام تراکنش منصرف شد"_s);
    EXPECT_FALSE(navigation());
}

TEST_F(PaymentScreenTest, closingAsksWhereSomethingWouldBeLost)
{
    storeToken();
    PaymentViewController *screen = presentPayment();
    screen->form()->setSecret(CardForm::Pin, u"1");
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
    expectOutcome("2525343", u"مدت زمان تراکنش به پایان رسید"_s);
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
    EXPECT_EQ(screen->banner()->message(), u"پذیرنده نامعتبر میباشد"_s);
    settle(1500);
    EXPECT_TRUE(outcomes().empty());
    settle(1200);
    expectOutcome("2525344", u"پذیرنده نامعتبر"_s);
}

TEST_F(PaymentScreenTest, pushesTheVerificationPageAndRefusesOtherAddresses)
{
    storeToken({{u"vu"_s, u"ftp://shop.example/"_s}});
    PaymentViewController *screen = presentPayment();
    click(u"verifyButton"_s);
    EXPECT_EQ(navigation()->viewControllers().size(), 2U);
    EXPECT_TRUE(item(u"verificationFault"_s));
    click(u"backButton"_s);
    EXPECT_EQ(navigation()->topViewController(), screen);
    EXPECT_TRUE(outcomes().empty());
}

} // namespace
} // namespace kelpay

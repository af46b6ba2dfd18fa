#include "Screens.h"

#include "platform/Dispatch.h"
#include "platform/UserDefaults.h"
#include "security/keychain/CoreKeychain.h"
#include "ui/payment/ViewUtils.h"
#include "ui/receipt/ReceiptViewController.h"

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

class ReceiptScreenTest : public ScreenTest
{
protected:
    /// A payment that went through to its receipt.
    ReceiptViewController *pay(const QJsonObject &stored, bool ok = true, const QString &code = u"51"_s)
    {
        storeToken();
        PaymentViewController *screen = presentPayment();
        screen->form()->setCardNumber(u"6037991234567893"_s);
        screen->form()->setSecret(CardForm::Pin, u"12345");
        screen->verifyPayment();
        storePaymentAnswer(stored);
        answer(ok, u"پیام"_s, code);
        return qobject_cast<ReceiptViewController *>(navigation()->topViewController());
    }
};

TEST_F(ReceiptScreenTest, showsTheReceipt)
{
    QJsonObject paid = paidAnswer();
    paid[u"rd"_s] = QJsonObject{{u"urn"_s, u"U1\nمبلغ : 1 ریال"_s}, {u"mrn"_s, u"M1 : x"_s}};
    ReceiptViewController *receipt = pay(paid);
    ASSERT_TRUE(receipt);
    EXPECT_EQ(receipt->statusText(), u"پرداخت موفق"_s);
    EXPECT_EQ(receipt->merchantText(), u"پذیرنده :  فروشگاه"_s);
    EXPECT_EQ(receipt->amountText(), u"مبلغ\u200c : 1,250,000 ریال"_s);
    EXPECT_TRUE(receipt->descriptionText().startsWith(
        u"کد پذیرنده : 1234\nشماره کارت : 6037991234567893\nبانک صادرکننده : بانک ملی\nشماره مرجع : M1"_s));
    // No value of the service's makes a line of its own.
    EXPECT_EQ(receipt->lineNames(), QStringList({u"کد پذیرنده"_s, u"شماره کارت"_s, u"بانک صادرکننده"_s, u"شماره مرجع"_s,
                                                 u"شماره پیگیری"_s, u"زمان تراکنش"_s}));
    EXPECT_EQ(receipt->lineValues(), QStringList({u"1234"_s, u"6037991234567893"_s, u"بانک ملی"_s, u"M1 : x"_s,
                                                  u"U1 مبلغ : 1 ریال"_s, u"۱ آذر ۱۴۰۵"_s}));
    EXPECT_TRUE(readsLeftToRight(u"receiptValue1"_s));
    EXPECT_FALSE(item(u"cancelButton"_s));
}

TEST_F(ReceiptScreenTest, succeedsOnlyWithResultZeroAndATrace)
{
    const struct
    {
        QJsonObject answer;
        bool success;
    } cases[] = {{{{u"rc"_s, 0}, {u"ti"_s, 5}}, true},
                 {{{u"rc"_s, 0}, {u"ti"_s, 0}}, false},
                 {{{u"rc"_s, 0}}, false},
                 {{{u"rc"_s, 3}, {u"ti"_s, 5}}, false},
                 {{}, false}};
    for (const auto &[stored, success] : cases) {
        storePaymentAnswer(stored);
        EXPECT_EQ(ReceiptViewController::PaymentData::gather().isSuccess(), success);
    }
    UserDefaults::standard().remove(u"pym"_s);
    EXPECT_FALSE(ReceiptViewController::PaymentData::gather().isSuccess());
}

TEST_F(ReceiptScreenTest, reportsOnceAndClosesBothScreens)
{
    for (const bool success : {true, false}) {
        const size_t before = outcomes().size();
        ReceiptViewController *receipt =
            pay(success ? paidAnswer() : QJsonObject{{u"rc"_s, 51}, {u"ds"_s, u"d"_s}}, success);
        EXPECT_EQ(receipt->descriptionText().isEmpty(), false);
        receipt->donePayment();
        receipt->donePayment();
        ASSERT_TRUE(waitFor([&] { return outcomes().size() > before && !navigation(); }));
        settle();
        ASSERT_EQ(outcomes().size(), before + 1);
        const Told outcome = outcomes().back();
        EXPECT_EQ(outcome.success, success);
        EXPECT_FALSE(outcome.onMain);
        EXPECT_EQ(outcome.code, success ? u"1"_s : u"51"_s);
        EXPECT_EQ(outcome.description, success ? u"Successful"_s : u"پیام"_s);
        EXPECT_EQ(outcome.reference, success ? u"U1"_s : QString());
        EXPECT_EQ(outcome.merchantReference, success ? u"M1"_s : QString());
    }
}

TEST_F(ReceiptScreenTest, settlesOnlyWhatTheServiceConfirmedOrRefused)
{
    for (const UnsettledAttempt &listed : AttemptLedger::shared().unsettled())
        AttemptLedger::shared().settle(listed.identifier);
    for (const auto &[stored, code, isListed] : {std::tuple(paidAnswer(), "0", false),
                                                 {QJsonObject{{u"rc"_s, 51}}, "51", false},
                                                 {QJsonObject{{u"rc"_s, 0}}, "0", true}}) {
        pay(stored, code == std::string_view("0"), QString::fromLatin1(code))->donePayment();
        ASSERT_TRUE(waitFor([] { return !Attempt::current(); }));
        settle(50);
        EXPECT_EQ(AttemptLedger::shared().unsettled().size(), isListed ? 1U : 0U)
            << outcomes().back().code.toStdString();
    }
}

TEST_F(ReceiptScreenTest, keepsThePaymentScreenOfEightMerchants)
{
    const struct
    {
        const char *merchant;
        bool stays;
    } cases[] = {{"3086", true}, {"3014", true}, {"3085", false}};
    for (const auto &[merchant, stays] : cases) {
        const size_t before = outcomes().size();
        ReceiptViewController *receipt = pay(paidAnswer());
        CoreKeychain().setString(QString::fromLatin1(merchant), u"mid"_s);
        receipt->donePayment();
        // The payment screen is uncovered before the receipt has told the outcome; nothing may overtake it.
        navigation()->topViewController()->barButtonPressed();
        EXPECT_EQ(outcomes().size(), before);
        ASSERT_TRUE(waitFor([&] { return outcomes().size() > before; }));
        EXPECT_EQ(outcomes().back().code, u"1"_s);
        settle(500);
        EXPECT_EQ(navigation() != nullptr, stays) << merchant;
        if (!stays)
            continue;
        EXPECT_EQ(navigation()->viewControllers().size(), 1U);
        EXPECT_FALSE(qobject_cast<PaymentViewController *>(navigation()->topViewController())->isButtonedOrNeah());
        click(u"cancelButton"_s);
        EXPECT_EQ(outcomes().back().code, u"2525342"_s);
        EXPECT_FALSE(navigation());
    }
}

TEST_F(ReceiptScreenTest, reportsWhenTheWindowGoesWhileItCloses)
{
    pay(paidAnswer())->donePayment();
    loseWindow();
    ASSERT_TRUE(waitFor([&] { return !outcomes().empty(); }));
    EXPECT_EQ(outcomes()[0].code, u"1"_s);
}

TEST_F(ReceiptScreenTest, convertsDates)
{
    EXPECT_EQ(ReceiptViewController::simpleDateConversion(u"2026-11-22"_s), u"۱ آذر ۱۴۰۵"_s);
    EXPECT_EQ(ReceiptViewController::simpleDateConversion(u"soon"_s), QString());
}

} // namespace
} // namespace kelpay

#include "Screens.h"

#include "platform/Dispatch.h"
#include "platform/UserDefaults.h"
#include "security/keychain/CoreKeychain.h"
#include "ui/payment/ViewUtils.h"
#include "ui/receipt/ReceiptViewController.h"

namespace kelpay {
namespace {

class ReceiptScreenTest : public ScreenTest
{
protected:
    /// A payment that went through to its receipt.
    ReceiptViewController *pay(const QJsonObject &stored, bool ok = true, const QString &code = QStringLiteral("51"))
    {
        storeToken();
        PaymentViewController *screen = presentPayment();
        screen->form()->setCardNumber(QStringLiteral("6037991234567893"));
        screen->form()->setPin(QStringLiteral("12345"));
        screen->verifyPayment();
        storePaymentAnswer(stored);
        answer(ok, QStringLiteral("پیام"), code);
        return qobject_cast<ReceiptViewController *>(navigation()->topViewController());
    }
};

TEST_F(ReceiptScreenTest, showsTheReceipt)
{
    QJsonObject paid = paidAnswer();
    paid[QStringLiteral("rd")] = QJsonObject{{QStringLiteral("urn"), QStringLiteral("U1\nمبلغ : 1 ریال")},
                                             {QStringLiteral("mrn"), QStringLiteral("M1 : x")}};
    ReceiptViewController *receipt = pay(paid);
    ASSERT_TRUE(receipt);
    EXPECT_EQ(receipt->statusText(), QStringLiteral("پرداخت موفق"));
    EXPECT_EQ(receipt->merchantText(), QStringLiteral("پذیرنده :  فروشگاه"));
    EXPECT_EQ(receipt->amountText(), QStringLiteral("مبلغ\u200c : 1,250,000 ریال"));
    EXPECT_TRUE(receipt->descriptionText().startsWith(QStringLiteral(
        "کد پذیرنده : 1234\nشماره کارت : 6037991234567893\nبانک صادرکننده : بانک ملی\nشماره مرجع : M1")));
    // No value of the service's makes a line of its own.
    EXPECT_EQ(receipt->lineNames(), QStringList({QStringLiteral("کد پذیرنده"), QStringLiteral("شماره کارت"),
                                                 QStringLiteral("بانک صادرکننده"), QStringLiteral("شماره مرجع"),
                                                 QStringLiteral("شماره پیگیری"), QStringLiteral("زمان تراکنش")}));
    EXPECT_EQ(receipt->lineValues(), QStringList({QStringLiteral("1234"), QStringLiteral("6037991234567893"),
                                                  QStringLiteral("بانک ملی"), QStringLiteral("M1 : x"),
                                                  QStringLiteral("U1 مبلغ : 1 ریال"), QStringLiteral("۱ آذر ۱۴۰۵")}));
    EXPECT_TRUE(readsLeftToRight(QStringLiteral("receiptValue1")));
    EXPECT_FALSE(item(QStringLiteral("cancelButton")));
}

TEST_F(ReceiptScreenTest, succeedsOnlyWithResultZeroAndATrace)
{
    const struct
    {
        QJsonObject answer;
        bool success;
    } cases[] = {{{{QStringLiteral("rc"), 0}, {QStringLiteral("ti"), 5}}, true},
                 {{{QStringLiteral("rc"), 0}, {QStringLiteral("ti"), 0}}, false},
                 {{{QStringLiteral("rc"), 0}}, false},
                 {{{QStringLiteral("rc"), 3}, {QStringLiteral("ti"), 5}}, false},
                 {{}, false}};
    for (const auto &[stored, success] : cases) {
        storePaymentAnswer(stored);
        EXPECT_EQ(ReceiptViewController::PaymentData::gather().isSuccess(), success);
    }
    UserDefaults::standard().remove(QStringLiteral("pym"));
    EXPECT_FALSE(ReceiptViewController::PaymentData::gather().isSuccess());
}

TEST_F(ReceiptScreenTest, reportsOnceAndClosesBothScreens)
{
    for (const bool success : {true, false}) {
        const size_t before = outcomes().size();
        ReceiptViewController *receipt =
            pay(success ? paidAnswer()
                        : QJsonObject{{QStringLiteral("rc"), 51}, {QStringLiteral("ds"), QStringLiteral("d")}},
                success);
        EXPECT_EQ(receipt->descriptionText().isEmpty(), false);
        receipt->donePayment();
        receipt->donePayment();
        ASSERT_TRUE(waitFor([&] { return outcomes().size() > before && !navigation(); }));
        settle();
        ASSERT_EQ(outcomes().size(), before + 1);
        const Told outcome = outcomes().back();
        EXPECT_EQ(outcome.success, success);
        EXPECT_FALSE(outcome.onMain);
        EXPECT_EQ(outcome.code, success ? QStringLiteral("1") : QStringLiteral("51"));
        EXPECT_EQ(outcome.description, success ? QStringLiteral("Successful") : QStringLiteral("پیام"));
        EXPECT_EQ(outcome.reference, success ? QStringLiteral("U1") : QString());
        EXPECT_EQ(outcome.merchantReference, success ? QStringLiteral("M1") : QString());
    }
}

TEST_F(ReceiptScreenTest, settlesOnlyWhatTheServiceConfirmedOrRefused)
{
    for (const UnsettledAttempt &listed : AttemptLedger::shared().unsettled())
        AttemptLedger::shared().settle(listed.identifier);
    for (const auto &[stored, code, isListed] : {std::tuple(paidAnswer(), "0", false),
                                                 {QJsonObject{{QStringLiteral("rc"), 51}}, "51", false},
                                                 {QJsonObject{{QStringLiteral("rc"), 0}}, "0", true}}) {
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
        CoreKeychain().setString(QString::fromLatin1(merchant), QStringLiteral("mid"));
        receipt->donePayment();
        // The payment screen is uncovered before the receipt has told the outcome; nothing may overtake it.
        navigation()->topViewController()->barButtonPressed();
        EXPECT_EQ(outcomes().size(), before);
        ASSERT_TRUE(waitFor([&] { return outcomes().size() > before; }));
        EXPECT_EQ(outcomes().back().code, QStringLiteral("1"));
        settle(500);
        EXPECT_EQ(navigation() != nullptr, stays) << merchant;
        if (!stays)
            continue;
        EXPECT_EQ(navigation()->viewControllers().size(), 1U);
        EXPECT_FALSE(qobject_cast<PaymentViewController *>(navigation()->topViewController())->isButtonedOrNeah());
        click(QStringLiteral("cancelButton"));
        EXPECT_EQ(outcomes().back().code, QStringLiteral("2525342"));
        EXPECT_FALSE(navigation());
    }
}

TEST_F(ReceiptScreenTest, reportsWhenTheWindowGoesWhileItCloses)
{
    pay(paidAnswer())->donePayment();
    loseWindow();
    ASSERT_TRUE(waitFor([&] { return !outcomes().empty(); }));
    EXPECT_EQ(outcomes()[0].code, QStringLiteral("1"));
}

TEST_F(ReceiptScreenTest, convertsDates)
{
    EXPECT_EQ(ReceiptViewController::simpleDateConversion(QStringLiteral("2026-11-22")), QStringLiteral("۱ آذر ۱۴۰۵"));
    EXPECT_EQ(ReceiptViewController::simpleDateConversion(QStringLiteral("soon")), QString());
}

} // namespace
} // namespace kelpay

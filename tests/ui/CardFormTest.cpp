#include "ui/payment/CardForm.h"
#include "ui/payment/SavedCard.h"

#include <QSignalSpy>
#include <gtest/gtest.h>

namespace kelpay {
namespace {

constexpr auto validNumber = "6037991234567893";
constexpr auto invalidNumber = "6037991234567890";
constexpr auto maskedNumber = "603799******1234";

class CardFormTest : public testing::Test
{
protected:
    CardFormTest() { setRules(QStringLiteral("6219;5;0;10|6219;59;0;20|"), QStringLiteral("15")); }

    void setRules(const QString &rules, const QString &amount, const QString &ta = QStringLiteral("T1"))
    {
        form.setTerms({ta, rules, amount});
    }
    void choose(const char *pan = maskedNumber, const QString &exp = QStringLiteral("05/12"))
    {
        form.applySavedCard(QStringLiteral("11"), QString::fromLatin1(pan), exp);
    }
    /// What a field does with an edit: judges it, then shows it.
    bool edit(const QString &text)
    {
        const bool accepted = form.acceptsText(CardForm::CardNumber, text);
        if (accepted)
            form.setCardNumber(text);
        return accepted;
    }

    CardForm form;
    QSignalSpy notified{&form, &CardForm::notified};
};

TEST_F(CardFormTest, limitsWhatIsTyped)
{
    const struct
    {
        CardForm::Field field;
        QString before;
        qsizetype removed;
        QString replacement;
        bool accepted;
    } cases[] = {
        {CardForm::CardNumber, QString(15, u'1'), 0, QStringLiteral("1"), true},
        {CardForm::CardNumber, QString(16, u'1'), 0, QStringLiteral("1"), false},
        {CardForm::CardNumber, QString(16, u'1'), 16, QString(16, u'2'), true},
        {CardForm::CardNumber, QString(16, u'1'), 1, QString(), true},
        {CardForm::CardNumber, {}, 0, QStringLiteral("6037 9912"), false},
        {CardForm::CardNumber, {}, 0, QStringLiteral("۶۰۳۷"), false},
        {CardForm::CardNumber, {}, 0, QStringLiteral("6037\u200e"), false},
        {CardForm::Pin, QString(11, u'1'), 0, QStringLiteral("1"), true},
        {CardForm::Pin, QString(12, u'1'), 0, QStringLiteral("1"), false},
        {CardForm::Pin, QString(12, u'1'), 2, QStringLiteral("12"), true},
        {CardForm::Pin, {}, 0, QStringLiteral("12a"), false},
        {CardForm::Cvv2, QString(5, u'1'), 0, QStringLiteral("1"), true},
        {CardForm::Cvv2, QString(6, u'1'), 0, QStringLiteral("1"), false},
        {CardForm::Cvv2, {}, 0, QStringLiteral("-1"), false},
    };
    for (const auto &[field, before, removed, replacement, accepted] : cases) {
        form.setCardNumber(before);
        form.setPin(before);
        form.setCvv2(before);
        EXPECT_EQ(form.shouldChangeCharacters(field, 0, removed, replacement), accepted)
            << int(field) << " " << before.size() << " " << qPrintable(replacement);
    }
}

TEST_F(CardFormTest, namesTheBankByTheTextBeforeTheEdit)
{
    const QString number = QString::fromLatin1(validNumber);
    for (int length = 1; length <= 7; ++length) {
        ASSERT_TRUE(edit(number.left(length)));
        EXPECT_EQ(form.bankName(), QString()) << length;
    }
    ASSERT_TRUE(edit(number.left(8)));
    EXPECT_EQ(form.bankName(), QStringLiteral("بانک ملی"));
    EXPECT_TRUE(form.bankIcon().fileName() == QLatin1String("603799.png"));
    ASSERT_TRUE(edit(number.left(7)));
    ASSERT_TRUE(edit(number.left(6)));
    EXPECT_EQ(form.bankName(), QStringLiteral("بانک ملی"));
    ASSERT_TRUE(edit(number.left(5)));
    EXPECT_EQ(form.bankName(), QString());
    EXPECT_TRUE(form.bankIcon().isEmpty());
}

TEST_F(CardFormTest, choosesTheFormByTheCardRules)
{
    const struct
    {
        QString rules;
        QString amount;
        QString ta;
        bool simpleBefore;
        bool simpleAfter;
        bool isRefused;
    } cases[] = {
        {QStringLiteral("6219;5;0;10|6219;59;0;20|"), QStringLiteral("5"), QStringLiteral("T"), false, true, false},
        {QStringLiteral("6219;5;0;10|6219;59;0;20|"), QStringLiteral("15"), QStringLiteral("T"), true, false, false},
        {QStringLiteral("6219;5;0;10|6219;59;0;20|"), QStringLiteral("25"), QStringLiteral("T"), true, true, true},
        {QStringLiteral("6219;5;0;10|6219;59;0;20|"), QStringLiteral("25"), QStringLiteral("NA"), false, false, false},
        // Malformed rules leave the form as it is.
        {QStringLiteral("6219;5"), QStringLiteral("15"), QStringLiteral("T"), false, false, false},
        {QStringLiteral("6219|x|"), QStringLiteral("15"), QStringLiteral("T"), false, false, false},
        {QStringLiteral("6219;5;0|x|"), QStringLiteral("15"), QStringLiteral("T"), true, true, false},
    };
    for (const auto &[rules, amount, ta, simpleBefore, simpleAfter, isRefused] : cases) {
        setRules(rules, amount, ta);
        form.setSimple(simpleBefore);
        form.setCardNumber(QStringLiteral("6219861"));
        notified.clear();
        EXPECT_TRUE(edit(QStringLiteral("62198612")));
        EXPECT_EQ(form.isSimple(), simpleAfter) << qPrintable(rules + amount);
        EXPECT_EQ(notified.size(), isRefused ? 1 : 0) << qPrintable(rules + amount);
        if (isRefused) {
            EXPECT_EQ(notified[0].at(0).toString(), QStringLiteral("شما مجاز به پرداخت نمیباشید"));
        }
    }
}

TEST_F(CardFormTest, sendsASavedCardByItsIdentifierUntilANumberReplacesIt)
{
    choose();
    EXPECT_EQ(form.cardNumber(), QString::fromLatin1(maskedNumber));
    EXPECT_EQ(form.expiration(), QStringLiteral("05/12"));
    EXPECT_EQ(form.bankName(), QStringLiteral("بانک ملی"));
    EXPECT_EQ(form.card(), QStringLiteral("11"));

    // Whole, by paste and by a key over the selection.
    for (const QString &number : {QString::fromLatin1(validNumber), QStringLiteral("6")}) {
        choose();
        ASSERT_TRUE(edit(number));
        EXPECT_FALSE(form.isSettledDown());
        EXPECT_EQ(form.card(), number);
    }
    choose();
    EXPECT_FALSE(edit(QStringLiteral("6037 9912")));
    EXPECT_EQ(form.card(), QStringLiteral("11"));
    ASSERT_TRUE(edit({}));
    ASSERT_TRUE(edit(QStringLiteral("5")));
    EXPECT_EQ(form.card(), QStringLiteral("5"));
}

TEST_F(CardFormTest, checksACompleteNumberWhenEditingEnds)
{
    const struct
    {
        const char *number;
        bool passes;
        bool complains;
    } cases[] = {{validNumber, true, false}, {invalidNumber, false, true}, {"603799", false, false}};
    for (const auto &[number, passes, complains] : cases) {
        CardForm fresh;
        QSignalSpy complaint(&fresh, &CardForm::notified);
        fresh.setCardNumber(QString::fromLatin1(number));
        fresh.cardNumberDidEndEditing();
        EXPECT_EQ(fresh.isBeefStroganoff(), passes) << number;
        EXPECT_EQ(complaint.size(), complains ? 1 : 0) << number;
        EXPECT_EQ(fresh.cardNumberFault().isEmpty(), !complains) << number;
    }
    choose();
    form.cardNumberDidEndEditing();
    EXPECT_TRUE(form.isBeefStroganoff());
    EXPECT_TRUE(notified.isEmpty());
}

TEST_F(CardFormTest, isCompleteFromTheLeastLengthsOn)
{
    const struct
    {
        bool simple;
        int card, pin, cvv2;
        bool expiry;
        bool complete;
    } cases[] = {{true, 15, 5, 0, false, true}, {true, 14, 5, 0, false, false}, {true, 15, 4, 0, false, false},
                 {false, 15, 5, 3, true, true}, {false, 15, 5, 2, true, false}, {false, 15, 5, 3, false, false},
                 {false, 14, 5, 3, true, false}};
    for (const auto &[simple, card, pin, cvv2, expiry, complete] : cases) {
        CardForm fresh;
        fresh.setSimple(simple);
        fresh.setCardNumber(QString(card, u'1'));
        fresh.setPin(QString(pin, u'1'));
        fresh.setCvv2(QString(cvv2, u'1'));
        if (expiry)
            fresh.selectExpiry(3, 4);
        EXPECT_EQ(fresh.isComplete(), complete) << simple << card << pin << cvv2 << expiry;
    }
}

TEST_F(CardFormTest, picksTheExpiry)
{
    form.selectExpiry(3, 4);
    EXPECT_EQ(form.expiration(), QStringLiteral("99/05"));
    for (const auto &[year, month] : {std::pair(-1, 0), {0, -1}, {10, 0}, {0, 12}}) {
        form.selectExpiry(year, month);
        EXPECT_EQ(form.expiration(), QStringLiteral("99/05"));
    }
    form.selectExpiry(9, 11);
    EXPECT_EQ(form.expiration(), QStringLiteral("05/12"));
}

} // namespace
} // namespace kelpay

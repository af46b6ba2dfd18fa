#include "ui/payment/CardForm.h"

#include <QSignalSpy>
#include <gtest/gtest.h>

#include <tuple>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

const QString validNumber = u"6037991234567893"_s;
const QString maskedNumber = u"603799******1234"_s;

class CardFormTest : public testing::Test
{
protected:
    CardFormTest() { setRules("6219;5;0;10|6219;59;0;20|", "15"); }

    void setRules(const char *rules, const char *amount, const char *ta = "T1")
    {
        form.setTerms({QString::fromLatin1(ta), QString::fromLatin1(rules), QString::fromLatin1(amount)});
    }
    void choose() { form.notifierFired(u"11"_s, maskedNumber, u"05/12"_s); }
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
        int before, removed;
        const char *replacement;
        bool accepted;
    } cases[] = {{CardForm::CardNumber, 15, 0, "1", true},
                 {CardForm::CardNumber, 16, 0, "1", false},
                 {CardForm::CardNumber, 16, 16, "2222222222222222", true},
                 {CardForm::CardNumber, 16, 1, "", true},
                 {CardForm::CardNumber, 0, 0, "6037 9912", false},
                 {CardForm::CardNumber, 0, 0, "۶۰۳۷", false},
                 {CardForm::CardNumber, 0, 0, "6037\u200e", false},
                 {CardForm::Pin, 11, 0, "1", true},
                 {CardForm::Pin, 12, 0, "1", false},
                 {CardForm::Pin, 12, 2, "12", true},
                 {CardForm::Pin, 0, 0, "12a", false},
                 {CardForm::Cvv2, 5, 0, "1", true},
                 {CardForm::Cvv2, 6, 0, "1", false},
                 {CardForm::Cvv2, 0, 0, "-1", false}};
    for (const auto &[field, before, removed, replacement, accepted] : cases) {
        const QString text(before, u'1');
        const QString typed = QString::fromUtf8(replacement);
        form.setCardNumber(text);
        form.setSecret(field, text);
        EXPECT_EQ(field == CardForm::CardNumber ? form.textField(field, 0, removed, typed)
                                                : form.editSecret(field, 0, removed, typed),
                  accepted)
            << int(field) << " " << before << " " << replacement;
    }
}

TEST_F(CardFormTest, namesTheBankByTheTextBeforeTheEdit)
{
    // The length that is typed or left, and whether the bank shows then.
    const std::pair<int, bool> cases[] = {{1, false}, {6, false}, {7, false}, {8, true},
                                          {7, true},  {6, true},  {5, false}};
    for (const auto &[length, isShown] : cases) {
        ASSERT_TRUE(edit(validNumber.left(length)));
        EXPECT_EQ(form.bankName(), isShown ? u"بانک ملی"_s : QString()) << length;
        EXPECT_EQ(form.bankIcon().fileName(), isShown ? u"603799.png"_s : QString()) << length;
    }
}

TEST_F(CardFormTest, choosesTheFormByTheCardRules)
{
    const std::tuple<const char *, const char *, const char *, bool, bool, bool> cases[] = {
        {"6219;5;0;10|6219;59;0;20|", "5", "T", false, true, false},
        {"6219;5;0;10|6219;59;0;20|", "15", "T", true, false, false},
        {"6219;5;0;10|6219;59;0;20|", "25", "T", true, true, true},
        {"6219;5;0;10|6219;59;0;20|", "25", "NA", false, false, false},
        // Malformed rules leave the form as it is.
        {"6219;5", "15", "T", false, false, false},
        {"6219|x|", "15", "T", false, false, false},
        {"6219;5;0|x|", "15", "T", true, true, false},
    };
    for (const auto &[rules, amount, ta, simpleBefore, simpleAfter, isRefused] : cases) {
        setRules(rules, amount, ta);
        form.setSimple(simpleBefore);
        form.setCardNumber(u"6219861"_s);
        notified.clear();
        EXPECT_TRUE(edit(u"62198612"_s));
        EXPECT_EQ(form.isSimple(), simpleAfter) << rules << amount;
        EXPECT_EQ(notified, isRefused ? QList<QVariantList>{{u"شما مجاز به پرداخت نمیباشید"_s}} : QList<QVariantList>())
            << rules << amount;
    }
}

TEST_F(CardFormTest, sendsASavedCardByItsIdentifierUntilANumberReplacesIt)
{
    choose();
    EXPECT_EQ(form.cardNumber(), maskedNumber);
    EXPECT_EQ(form.expiration(), u"05/12"_s);
    EXPECT_EQ(form.bankName(), u"بانک ملی"_s);
    EXPECT_EQ(form.card(), u"11"_s);

    // Whole, by paste and by a key over the selection.
    for (const QString &number : {validNumber, u"6"_s}) {
        choose();
        ASSERT_TRUE(edit(number));
        EXPECT_FALSE(form.isSettledDown());
        EXPECT_EQ(form.card(), number);
    }
    choose();
    EXPECT_FALSE(edit(u"6037 9912"_s));
    EXPECT_EQ(form.card(), u"11"_s);
    ASSERT_TRUE(edit({}));
    ASSERT_TRUE(edit(u"5"_s));
    EXPECT_EQ(form.card(), u"5"_s);
}

TEST_F(CardFormTest, checksACompleteNumberWhenEditingEnds)
{
    // The number, whether it passes, whether the payer is told that it doesn't.
    const std::tuple<const char *, bool, bool> cases[] = {
        {"6037991234567893", true, false}, {"6037991234567890", false, true}, {"603799", false, false}};
    for (const auto &[number, passes, complains] : cases) {
        CardForm fresh;
        QSignalSpy complaint(&fresh, &CardForm::notified);
        fresh.setCardNumber(QString::fromLatin1(number));
        fresh.textFieldDidEndEditing(CardForm::Pin);
        EXPECT_FALSE(fresh.isBeefStroganoff());
        fresh.textFieldDidEndEditing(CardForm::CardNumber);
        EXPECT_EQ(fresh.isBeefStroganoff(), passes) << number;
        EXPECT_EQ(complaint.size(), complains ? 1 : 0) << number;
        EXPECT_EQ(fresh.faults()[CardForm::CardNumber].isEmpty(), !complains) << number;
    }
    choose();
    form.textFieldDidEndEditing(CardForm::CardNumber);
    EXPECT_TRUE(form.isBeefStroganoff());
    EXPECT_TRUE(notified.isEmpty());
}

TEST_F(CardFormTest, isCompleteFromTheLeastLengthsOn)
{
    const std::tuple<bool, int, int, int, bool, bool> cases[] = {
        {true, 15, 5, 0, false, true}, {true, 14, 5, 0, false, false}, {true, 15, 4, 0, false, false},
        {false, 15, 5, 3, true, true}, {false, 15, 5, 2, true, false}, {false, 15, 5, 3, false, false},
        {false, 14, 5, 3, true, false}};
    for (const auto &[simple, card, pin, cvv2, expiry, complete] : cases) {
        CardForm fresh;
        fresh.setSimple(simple);
        fresh.setCardNumber(QString(card, u'1'));
        fresh.setSecret(CardForm::Pin, QString(pin, u'1'));
        fresh.setSecret(CardForm::Cvv2, QString(cvv2, u'1'));
        if (expiry)
            fresh.selectExpiry(3, 4);
        EXPECT_EQ(fresh.isComplete(), complete) << simple << card << pin << cvv2 << expiry;
    }
}

TEST_F(CardFormTest, picksTheExpiry)
{
    for (const auto &[year, month] : {std::pair(3, 4), {-1, 0}, {0, -1}, {10, 0}, {0, 12}}) {
        form.selectExpiry(year, month);
        EXPECT_EQ(form.expiration(), u"99/05"_s) << year << " " << month;
    }
    form.selectExpiry(9, 11);
    EXPECT_EQ(form.expiration(), u"05/12"_s);
}

} // namespace
} // namespace kelpay

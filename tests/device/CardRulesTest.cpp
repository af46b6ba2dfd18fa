#include "device/CoreFunctions.h"

#include <gtest/gtest.h>

#include <QFile>

#include <stdexcept>

namespace kelpay {
namespace {

const CoreFunctions functions;

TEST(CardRules, Verdicts)
{
    struct Case
    {
        const char *rules, *amount, *verdict;
    };
    const char *card = "6037991234567890";
    const Case cases[] = {
        {"6037;5;0;5000000|", "3000000", "NO"}, // above the limit, no "59" entry
        {"6037;5;0;5000000|", "1000000", "JA"},
        {"6037;5;0;500000|6037;59;0;1000000|", "1000000", "NO"}, // outside "5", inside "59"
        {"6037;5;0;500000|6037;59;0;1000000|", "1500000", "NA"},
        {"6037;5;0;500000|6037;59;0;1000000|", "500000", "JA"}, // bounds count
        {"6037;5;0;500000|6037;59;0;1000000|", "500001", "NO"},
        {"6037;5;0;500000|", "600000", "NO"}, // outside "5", no "59"
        {"6037;7|", "2000000", "JA"},         // listed without a policy
        {"6037;7|", "2000001", "NO"},
        {"6219;5;0;1|", "2000000", "JA"}, // not listed
        {"6219;5;0;1|", "2000001", "NO"},
        {"6037;59;3000000;4000000|", "3000000", "NO"},
        {"6037;59;3000000;4000000|", "2999999", "NA"},
        {"6219;7|6037;59;1;2", "3000000", "NO"},     // the last element is not examined
        {";59;1;2|", "3000000", "NO"},               // an empty prefix matches nothing
        {"6037;5;x;y|", "1000", "NO"},               // bounds that are no numbers are 0
        {"6037;5;0;100|6037;5;0;900|", "500", "JA"}, // two policies run together: "0;1000;900"
        {"|", "1000", "JA"},
        {"6037;59;0;9|", "", "JA"},
    };
    for (const Case &c : cases) {
        const QString values = QStringLiteral("%1;%2").arg(QLatin1StringView(card), QLatin1StringView(c.amount));
        EXPECT_EQ(functions.isSimple(QString::fromLatin1(c.rules), values).toStdString(), c.verdict)
            << c.rules << " " << c.amount;
    }
}

TEST(CardRules, LookUpsAndTheirRangeErrors)
{
    const QString card = QStringLiteral("6037991234567890");
    const QString rules = QStringLiteral("6037;5;100;200|603799;5;300;400|6219;9|60;59;7;8|603;1;2");
    EXPECT_EQ(functions.blackListReturner(card, rules), QStringLiteral("5|5|59|"));
    EXPECT_EQ(functions.policyForCode5(card, rules), QStringLiteral("100;200300;400"));
    EXPECT_EQ(functions.policyForCode59(card, rules), QStringLiteral("7;8"));
    EXPECT_EQ(functions.policyForCode59(QStringLiteral("5"), rules), QString());

    EXPECT_THROW(functions.blackListReturner(card, QStringLiteral("6037;5;1;2")), std::out_of_range);
    EXPECT_THROW(functions.blackListReturner(card, QString()), std::out_of_range);
    EXPECT_THROW(functions.blackListReturner(card, QStringLiteral("6037|")), std::out_of_range);
    EXPECT_THROW(functions.policyForCode5(card, QStringLiteral("6037;5;1|")), std::out_of_range);
    EXPECT_NO_THROW(functions.policyForCode59(card, QStringLiteral("6037;5;1|")));
}

TEST(CardRules, CheckDigit)
{
    const std::pair<const char *, bool> cases[] = {
        {"6037991234567893", true},  {"6037991234567894", false}, {"4111111111111111", true},
        {"60379912345678939", true}, // what follows the sixteenth digit does not count
        {"0000000000000000", false}, {"6000000000012345", false}, {"6037991234000000", false}};
    for (const auto &[number, valid] : cases)
        EXPECT_EQ(functions.isValidCardNumber(QString::fromLatin1(number)), valid) << number;
    EXPECT_THROW(functions.isValidCardNumber(QStringLiteral("603799123456789")), std::out_of_range);
}

TEST(CardRules, MobileNumbers)
{
    const std::pair<const char *, bool> cases[] = {
        {"09123456789", true}, {"9123456789", false}, {"091234567890", false}, {"", false}, {"09abcdefghi", true}};
    for (const auto &[number, valid] : cases)
        EXPECT_EQ(functions.isValidPhoneNumber(QString::fromLatin1(number)), valid) << number;
}

TEST(CardRules, BankNames)
{
    EXPECT_EQ(functions.bankName(QStringLiteral("6037991234567893")), QStringLiteral("بانک ملی"));
    EXPECT_EQ(functions.bankName(QStringLiteral("639194***1234")), QStringLiteral("بانک پارسيان"));
    for (const char *unknown : {"", "60379", "999999123", "انتخاب شماره کارت"})
        EXPECT_EQ(functions.bankName(QString::fromUtf8(unknown)), QString()) << unknown;
}

} // namespace
} // namespace kelpay

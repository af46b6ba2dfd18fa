#include "device/CoreFunctions.h"
#include "device/cards/Bank.h"
#include "device/cards/CardNumber.h"
#include "device/cards/SavedCard.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <tuple>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

TEST(Cards, Verdicts)
{
    const CoreFunctions functions;
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
        const QString values = u"%1;%2"_s.arg(QLatin1StringView(card), QLatin1StringView(c.amount));
        EXPECT_EQ(functions.isSimple(QString::fromLatin1(c.rules), values).toStdString(), c.verdict)
            << c.rules << " " << c.amount;
    }
}

TEST(Cards, LookUpsAndTheirRangeErrors)
{
    const CoreFunctions functions;
    const QString card = u"6037991234567890"_s;
    const QString rules = u"6037;5;100;200|603799;5;300;400|6219;9|60;59;7;8|603;1;2"_s;
    EXPECT_EQ(functions.blackListReturnerFor(card, rules), u"5|5|59|"_s);
    EXPECT_EQ(functions.policyForCode5On(card, rules), u"100;200300;400"_s);
    EXPECT_EQ(functions.policyForCode59On(card, rules), u"7;8"_s);
    EXPECT_EQ(functions.policyForCode59On(u"5"_s, rules), QString());

    EXPECT_THROW(functions.blackListReturnerFor(card, u"6037;5;1;2"_s), std::out_of_range);
    EXPECT_THROW(functions.blackListReturnerFor(card, QString()), std::out_of_range);
    EXPECT_THROW(functions.blackListReturnerFor(card, u"6037|"_s), std::out_of_range);
    EXPECT_THROW(functions.policyForCode5On(card, u"6037;5;1|"_s), std::out_of_range);
    EXPECT_NO_THROW(functions.policyForCode59On(card, u"6037;5;1|"_s));
}

TEST(Cards, NumbersThatPass)
{
    const CoreFunctions functions;
    const std::pair<const char *, bool> cards[] = {
        {"6037991234567893", true},  {"6037991234567894", false}, {"4111111111111111", true},
        {"60379912345678939", true}, // what follows the sixteenth digit does not count
        {"0000000000000000", false}, {"6000000000012345", false}, {"6037991234000000", false}};
    for (const auto &[number, valid] : cards)
        EXPECT_EQ(functions.isValidCardNumber(QString::fromLatin1(number)), valid) << number;
    EXPECT_THROW(functions.isValidCardNumber(u"603799123456789"_s), std::out_of_range);

    const std::pair<const char *, bool> phones[] = {
        {"09123456789", true}, {"9123456789", false}, {"091234567890", false}, {"", false}, {"09abcdefghi", true}};
    for (const auto &[number, valid] : phones)
        EXPECT_EQ(functions.isValidPhoneNumber(QString::fromLatin1(number)), valid) << number;
}

TEST(Cards, Banks)
{
    const CoreFunctions functions;
    const std::tuple<const char *, const char *, const char *> cases[] = {
        {"6037991234567893", "بانک ملی", "603799.png"},
        {"639194***1234", "بانک پارسيان", "639194.png"}, // with the Arabic yeh, as given
        {"622106", "بانک پارسيان", "622106.png"},
        {"60379", "", "60379.png"},
        {"999999123", "", "999999.png"}, // a deployer's logo
        {"", "", ".png"},
    };
    for (const auto &[number, name, logo] : cases) {
        const Bank bank = Bank::issuerOf(QString::fromLatin1(number));
        EXPECT_EQ(bank.name.toStdString(), name) << number;
        EXPECT_EQ(bank.logo.toStdString(), logo) << number;
        EXPECT_EQ(functions.bankNameForCardNumber(QString::fromLatin1(number)), bank.name);
    }
}

TEST(Cards, NoNumberIsShownWhole)
{
    const std::pair<const char *, const char *> cases[] = {{"6037991234567893", "603799******7893"},
                                                           {"6037-9912-3456-7893", "6037-99**-****-7893"},
                                                           {"603799******7893", "603799******7893"},
                                                           {"6037991234", "6037991234"}};
    for (const auto &[number, masked] : cases)
        EXPECT_EQ(CardNumber::masked(QString::fromLatin1(number)).toStdString(), masked);
}

TEST(Cards, SavedCards)
{
    const std::tuple<const char *, const char *, const char *> cases[] = {
        {"11.d.603799***1234.0512;12.n.621986***1.;tail.d.x.y", "11 603799***1234 05/12|12 621986***1 |", "11"},
        {"1.d.6***1.0101;2.d.6***2.0202;3.n.6***3.0303;", "1 6***1 01/01|2 6***2 02/02|3 6***3 03/03|", "2"},
        {"broken;7.n.603799***1.0101.more;", "7 603799***1 01/01|", ""},
        {"", "", ""},
        {"one", "", ""},
        {"a.b.c;;", "", ""},
    };
    for (const auto &[list, expected, defaultID] : cases) {
        const std::vector<SavedCard> cards = SavedCard::fromList(QString::fromLatin1(list));
        QString read;
        for (const SavedCard &card : cards)
            read += card.panID + u' ' + card.pan + u' ' + SavedCard::slashed(card.expiry) + u'|';
        EXPECT_EQ(read.toStdString(), expected);
        const SavedCard *chosen = SavedCard::defaultOf(cards);
        EXPECT_EQ(chosen ? chosen->panID.toStdString() : "", defaultID) << list;
    }
    static int said = 0;
    const auto former = qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) { ++said; });
    EXPECT_EQ(SavedCard::fromList(u"1.n.6***1.0101;"_s.repeated(5000)).size(), 100U);
    SavedCard::fromList(u"broken;"_s.repeated(5000));
    qInstallMessageHandler(former);
    EXPECT_LE(said, 2) << "a line for each kind of damage, however much of it there is";
}

} // namespace
} // namespace kelpay

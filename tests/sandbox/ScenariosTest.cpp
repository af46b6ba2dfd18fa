#include "sandbox/Scenarios.h"

#include <QFile>

#include <gtest/gtest.h>

#include <set>

namespace kelpay::sandbox::test {

using namespace Qt::StringLiterals;

TEST(Scenarios, NumbersChooseTheirScenarioOnTheirSideOnly)
{
    std::set<int> numbers;
    std::set<QString> names;
    for (const Scenario &scenario : scenarios()) {
        EXPECT_TRUE(numbers.insert(scenario.number).second) << scenario.number;
        EXPECT_FALSE(scenarioName(scenario.number).isEmpty()) << scenario.number;
        EXPECT_TRUE(names.insert(scenarioName(scenario.number)).second) << scenario.number;
        const bool onToken = scenario.side != Side::Payment;
        const bool onPayment = scenario.side != Side::Token;
        EXPECT_EQ(scenarioForMobile(mobileNumberFor(scenario.number)).number, onToken ? scenario.number : 0);
        for (const QString &issuer : {u"603799"_s, u"589210"_s, u"207177"_s}) {
            const QString card = cardNumberFor(scenario.number, issuer);
            EXPECT_EQ(card.size(), 16);
            EXPECT_TRUE(passesCheckDigit(card));
            EXPECT_NE(card.mid(10).toInt(), 0) << "the client refuses six zeros at the end";
            EXPECT_EQ(scenarioForCard(card).number, onPayment ? scenario.number : 0);
        }
    }
    for (const QString &plain : {u"09121234500"_s, u"0912000050"_s, u""_s, u"09120009999"_s})
        EXPECT_EQ(scenarioForMobile(plain).number, 0);
    for (const QString &plain : {u"6037991234565516"_s, u""_s, u"603799000000519"_s})
        EXPECT_EQ(scenarioForCard(plain).number, 0);
}

TEST(Scenarios, TheDocumentationHoldsTheTables)
{
    QFile file(QStringLiteral(KELPAY_DOCS "/sandbox.md"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QString text = QString::fromUtf8(file.readAll());
    for (const QString &table : scenarioTables().split(u"\n\n"_s))
        EXPECT_TRUE(text.contains(table.trimmed())) << "paste anew: kelpay-sandbox --list-scenarios\n"
                                                    << qPrintable(table);
}

} // namespace kelpay::sandbox::test

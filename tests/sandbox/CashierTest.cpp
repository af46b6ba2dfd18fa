#include "sandbox/Cashier.h"

#include "Requests.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace kelpay::sandbox::test {

using namespace Qt::StringLiterals;

namespace {

const QString goodCard = u"6037990000000006"_s;

class CashierTest : public ::testing::Test
{
protected:
    int resultOf(const QJsonObject &request) { return cashier.serve(request).answer.value("rc"_L1).toInt(-1); }
    QJsonObject token(const QString &msisdn = u"09121234567"_s, const QString &parameters = u"C1|1500000"_s)
    {
        return cashier.serve(tokenRequest(msisdn, parameters)).answer;
    }

    QTemporaryDir folder;
    QString path = folder.filePath(u"ledger"_s);
    std::unique_ptr<Ledger> ledger = Ledger::open(path);
    Cashier cashier{*ledger, u"https://127.0.0.1:1443/verify/"_s};
};

} // namespace

TEST_F(CashierTest, TakesATokenOnceHoweverManyAsk)
{
    const QJsonObject request = paymentRequest(token(), goodCard);
    std::atomic<int> approved = 0;
    std::atomic<int> paidBefore = 0;
    std::vector<std::thread> payers;
    for (int i = 0; i < 8; ++i)
        payers.emplace_back([&] {
            const int result = resultOf(request);
            approved += result == 0 ? 1 : 0;
            paidBefore += result == refusal::paidBefore ? 1 : 0;
        });
    for (std::thread &payer : payers)
        payer.join();
    EXPECT_EQ(approved, 1);
    EXPECT_EQ(paidBefore, 7);
    EXPECT_EQ(cashier.serve(request).posts, 9);

    const auto reopened = Ledger::open(path);
    Cashier later(*reopened, {});
    EXPECT_EQ(later.serve(request).answer.value("rc"_L1), refusal::paidBefore);
}

TEST_F(CashierTest, ADeclineLeavesTheTokenOpen)
{
    const QJsonObject answer = token();
    EXPECT_EQ(resultOf(paymentRequest(answer, cardNumberFor(55, u"610433"_s), u"59"_s)), 55);
    EXPECT_EQ(resultOf(paymentRequest(answer, goodCard)), 0);
}

TEST_F(CashierTest, FaultsBookOrDoNotAsTheTableSays)
{
    for (const Scenario &scenario : scenarios()) {
        if (scenario.side == Side::Token)
            continue;
        const QJsonObject answer = token();
        const Outcome outcome = cashier.serve(paymentRequest(answer, cardNumberFor(scenario.number, u"589210"_s)));
        EXPECT_EQ(outcome.scenario->number, scenario.number);
        const int second = resultOf(paymentRequest(answer, goodCard));
        EXPECT_EQ(second, scenario.booksPayment ? refusal::paidBefore : 0) << scenario.number;
        EXPECT_EQ(resultOf(paymentRequest(token(u"09121234567"_s, u"C1|1||%1"_s.arg(scenario.number)), goodCard)),
                  outcome.answer.value("rc"_L1).toInt(-1))
            << "by the payment parameters, " << scenario.number;
    }
}

TEST_F(CashierTest, HoldsTheDetailStringToItsToken)
{
    const QJsonObject answer = token();
    const QJsonObject good = paymentRequest(answer, goodCard);
    const QString text = good.value("ap"_L1).toObject().value("r"_L1).toString();
    const auto with = [&](int field, const QString &value) {
        QStringList fields = text.split(u'|');
        fields[field - 1] = value;
        QJsonObject request = good;
        request.insert("ap"_L1, QJsonObject{{"v"_L1, u""_s}, {"r"_L1, fields.join(u'|')}});
        return request;
    };
    for (const int field : {1, 8, 9})
        EXPECT_TRUE(cashier.serve(with(field, u"other"_s)).violation) << field;
    EXPECT_TRUE(cashier.serve(with(9, answer.value("rd"_L1).toObject().value("tb"_L1).toString())).violation);
    QJsonObject lateTrace = good;
    lateTrace.insert("ti"_L1, 301);
    EXPECT_TRUE(cashier.serve(lateTrace).violation);
    const QString fullOnly = mobileNumberFor(106);
    EXPECT_TRUE(cashier.serve(paymentRequest(token(fullOnly), goodCard, u"5"_s, fullOnly)).violation);
    EXPECT_EQ(resultOf(paymentRequest(token(fullOnly), goodCard, u"59"_s, fullOnly)), 0);
    EXPECT_EQ(resultOf(good), 0) << "none of the above may have paid the token";
}

TEST_F(CashierTest, TheLedgerHoldsNoSecret)
{
    const QJsonObject answer = token();
    ASSERT_EQ(resultOf(paymentRequest(answer, goodCard, u"59"_s)), 0);
    const QByteArray secrets[] = {goodCard.toUtf8(), "13579",
                                  answer.value("rd"_L1).toObject().value("t"_L1).toString().toUtf8()};
    QByteArray content;
    for (const QString &suffix : {u""_s, u"-wal"_s}) {
        QFile file(path + suffix);
        if (file.open(QIODevice::ReadOnly))
            content += file.readAll();
    }
    EXPECT_TRUE(content.contains("603799******0006"));
    for (const QByteArray &secret : secrets)
        EXPECT_FALSE(content.contains(secret));
}

} // namespace kelpay::sandbox::test

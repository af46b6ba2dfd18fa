#include "Exchanges.h"

#include "device/Outcomes.h"
#include "platform/StateFolder.h"

#include <QFile>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

TEST_F(ExchangeTest, AsksWithFifteenValues)
{
    const qint64 trace = *defaults.integer(u"trace"_s);
    const QString uuid = *keychain.stringForKey(u"uuid"_s);
    defaults.setInteger(u"ard"_s, 77);
    QJsonObject expected{{u"vi"_s, u"210;100"_s},
                         {u"ar"_s, u"0912;192.0.2.7;"_s},
                         {u"m"_s, 100},
                         {u"ct"_s, u"2026-11-23 03:04:05"_s},
                         {u"ti"_s, trace + 1},
                         {u"cs"_s, u"org.example.host"_s},
                         {u"dd"_s, u"APPL|m|s|n|l"_s},
                         {u"ai"_s, u"77"_s},
                         {u"di"_s, uuid},
                         {u"ap"_s, QJsonObject{{u"v"_s, u"root"_s}, {u"r"_s, u"A|B|C"_s}}},
                         {u"pc"_s, 100003},
                         {u"ad"_s, QJsonObject{{u"r"_s, u"extra"_s}}},
                         {u"pn"_s, u"org.example.host"_s},
                         {u"mi"_s, u"1001"_s},
                         {u"fp"_s, uuid}};
    run(token, u"0912||extra||A|B|C"_s, TransportError{});
    EXPECT_EQ(lastRequest(), expected);
    EXPECT_EQ(defaults.string(u"rsn"_s), u"extra"_s);
    EXPECT_EQ(defaults.string(u"pcc"_s), u"A"_s);
    EXPECT_EQ(keychain.stringForKey(u"msisdn"_s), u"0912"_s);

    facts->address = std::nullopt;
    expected[u"ar"_s] = u"0912;(null);"_s;
    expected[u"m"_s] = 200;
    expected[u"pc"_s] = 200000;
    expected[u"ap"_s] = QJsonObject{{u"v"_s, u"root"_s}, {u"r"_s, u"A||the|nine||fields"_s}};
    expected[u"ad"_s] = QJsonObject{{u"r"_s, u"NA"_s}};
    run(payment, u"A||the|nine||fields"_s, TransportError{});
    EXPECT_EQ(lastRequest(), expected) << "a payment leaves the trace as it is";
    EXPECT_EQ(posts.size(), 2U);
}

TEST_F(ExchangeTest, ListedMerchantsHaveTheServicesIdentifier)
{
    for (const auto &[merchant, identifier] : {std::pair("319", "ir.kel.tobrel"),
                                               {"336", "ir.kel.tobrel"},
                                               {"3088", "ir.kel.tobrel"},
                                               {"3089", "org.example.host"},
                                               {"31", "org.example.host"}}) {
        keychain.setString(QString::fromLatin1(merchant), u"mid"_s);
        run(token, u"0912||x||7"_s, TransportError{});
        EXPECT_EQ(lastRequest()[u"cs"_s].toString().toStdString(), identifier) << merchant;
        EXPECT_EQ(lastRequest()[u"pn"_s].toString().toStdString(), identifier) << merchant;
    }
}

TEST_F(ExchangeTest, TellsWhatTheServiceAnswered)
{
    const Called isDone{true, u""_s, u"0"_s};
    for (const auto &[json, expected] :
         {std::pair(success, isDone),
          {uR"({"rc":12,"ds":"x"})"_s, Called{false, u"x"_s, u"12"_s}},
          {uR"({"rc":"51","ds":"سلام \\ \"y\""})"_s, Called{false, u"سلام \\ \"y\""_s, u"51"_s}},
          {uR"({"rc":-3,"ds":7})"_s, Called{false, u"7"_s, u"-3"_s}},
          {uR"({"rc":4294967301})"_s, Called{false, u""_s, u"5"_s}},
          {uR"({"rc":1e300,"ds":null})"_s, Called{false, u""_s, u"-1"_s}},
          {uR"({"ds":"x"})"_s, isDone},
          {uR"({"rc":{"x":1}})"_s, isDone},
          {u"[]"_s, isDone},
          {uR"({"rc":5,"x":)"_s + QString(40, u'[') + QString(40, u']') + u'}', isDone},
          {uR"({"rc":5,"ds":"[[[[\"[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[","x":)"_s + QString(30, u'[') + QString(30, u']') +
               u'}',
           Called{false, u"[[[[\"[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[["_s, u"5"_s}},
          {u"no JSON"_s, isDone},
          {u""_s, isDone}}) {
        for (const Send send : {Send(token), Send(payment)})
            EXPECT_EQ(answer(send, json), expected) << qUtf8Printable(json);
    }
}

TEST_F(ExchangeTest, AnAnswerThatCannotBeOpenedCountsAsCode0)
{
    run(token, u"0912||x||7"_s, TransportError{});
    const QByteArray good = sealed(success);
    for (const QByteArray &body :
         {QByteArray(), QByteArray("\""), QByteArray("\"\""), QByteArray("\"?\""), good.chopped(5) + '"',
          good.left(9) + "\r\n" + good.mid(9), QByteArray("\xff\xfe\xfd"), good})
        for (const Send send : {Send(token), Send(payment)}) {
            defaults.setString(u"tkn"_s, u"former"_s);
            EXPECT_EQ(run(send, u"0912||x||7"_s, UrlResponse{200, body}), (Called{true, u""_s, u"0"_s})) << body.size();
            const auto record = CoreFunctions(defaults, keychain).storedTokenAnswer();
            EXPECT_TRUE(send != Send(token) || (record && record->rd.t.isUndefined())) << "an empty record is kept";
        }
}

TEST_F(ExchangeTest, TellsAStatusToTheTokensSlotAlone)
{
    run(token, u"0912||x||7"_s, TransportError{});
    const QByteArray body = sealed(success);
    const Called refused{false, Outcomes::serverError.description.toString(), u"2525345"_s};
    for (const int status : {201, 204, 301, 307, 400, 404, 500, 502, 503}) {
        EXPECT_EQ(run(token, u"0912||x||7"_s, UrlResponse{status, body}), refused) << status;
        EXPECT_EQ(run(payment, u"x"_s, UrlResponse{status, body}), std::nullopt) << status;
        EXPECT_FALSE(defaults.data(u"tkn"_s) || defaults.data(u"pym"_s));
    }
    EXPECT_EQ(run(token, u"0912||x||7"_s, TransportError{u"no"_s}), std::nullopt);
    EXPECT_EQ(run(payment, u"x"_s, TransportError{u"no"_s}), std::nullopt);

    // A payment whose object was given a slot for tokens tells that one.
    std::optional<QString> code;
    const auto object = CoreNetworking::create(surroundings());
    object->setTokenResponseBlock([&](bool, const QString &, const QString &told) { code = told; });
    object->sendPaymentRequest(Bytes("x"), {});
    std::exchange(completion, {})(UrlResponse{502, {}});
    EXPECT_EQ(code, u"2525345"_s);
}

TEST_F(ExchangeTest, WhatThrowsAfterTheAnswerLeavesAnAttemptThatIsOver)
{
    for (const Send send : {Send(token), Send(payment)}) {
        attempt = Attempt::begin(u"x"_s);
        attempt->takeOff();
        answer(send, success, [](bool, const QString &, const QString &) { throw std::bad_alloc(); });
        attempt->end();
        EXPECT_TRUE(attempt->isOver()) << "another can begin";
        attempt.reset();
    }
}

TEST_F(ExchangeTest, StoresBeforeItTells)
{
    EXPECT_TRUE(answer(token, success, [this](bool, const QString &, const QString &) {
        EXPECT_EQ(facts->storedTokenAnswer()->rd.t, QJsonValue(u"T1"_s));
    }));
    EXPECT_TRUE(answer(payment, uR"({"rc":5,"rd":{"urn":"U2"}})"_s, [this](bool, const QString &, const QString &) {
        EXPECT_EQ(facts->storedPaymentAnswer()->rd.urn, QJsonValue(u"U2"_s));
    }));
}

TEST_F(ExchangeTest, SendsNothingThatIsIncomplete)
{
    for (const auto &input : {u""_s, u"0912"_s, u"0912||x"_s})
        EXPECT_EQ(run(token, input, TransportError{}), std::nullopt);
    EXPECT_EQ(mistakes.size(), 3U);
    keychain.deleteEntryForKey(u"mid"_s);
    run(payment, u"x"_s, TransportError{});
    ASSERT_EQ(mistakes.size(), 4U);
    EXPECT_TRUE(mistakes[3].contains(u"initWithMerchantID"_s));

    // An entry that is there and can't be read is no mistake of the host's.
    keychain.setString(u"1001"_s, u"mid"_s);
    QFile key(*stateFolder() + u"/keychain.key"_s);
    ASSERT_TRUE(key.open(QIODevice::ReadWrite));
    const QByteArray content = key.readAll();
    key.seek(0);
    key.write(QByteArray(content.size(), 'x'));
    key.close();
    EXPECT_EQ(run(payment, u"x"_s, TransportError{}), std::nullopt);
    EXPECT_EQ(mistakes.size(), 4U);
    EXPECT_TRUE(posts.empty());
    ASSERT_TRUE(key.open(QIODevice::ReadWrite));
    key.write(content);
}

} // namespace
} // namespace kelpay

#include "records/BaseClass.h"
#include "records/BaseClassp.h"
#include "records/PaymentResponse.h"
#include "records/TokenResponse.h"

#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonDocument>

#include <climits>
#include <cmath>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

QJsonValue json(const char *text)
{
    return QJsonDocument::fromJson(text).object();
}

TEST(Record, ReadsWhatTheServiceSends)
{
    const auto answer = BaseClass::modelObject(json(R"({"rc":"12","ti":" 7.5x","m":true,"pc":null,"ds":null,"st":"2026",
        "rd":{"amn":1250000,"t":"abc","ldc":true,"wb":{"x":1}},"ard":"none"})"));
    EXPECT_EQ(answer.rc, 12);
    EXPECT_EQ(answer.ti, 7.5);
    EXPECT_EQ(answer.m, 1);
    EXPECT_EQ(answer.pc, 0);
    EXPECT_TRUE(answer.ds.isUndefined());
    EXPECT_EQ(textValue(answer.rd.amn), u"1250000"_s);
    EXPECT_TRUE(answer.rd.amn.isDouble());
    EXPECT_EQ(textValue(answer.rd.ldc), u"1"_s);
    EXPECT_FALSE(textValue(answer.rd.wb));
    EXPECT_FALSE(textValue(answer.rd.vu));
    EXPECT_TRUE(answer.ard.r.isUndefined());
}

TEST(Record, ReadsNumbersAsTheyBegin)
{
    const QString digits(100'000, u'9');
    for (const auto &[text, number] : {std::pair(u"12"_s, 12.0),
                                       {u" -7.5x"_s, -7.5},
                                       {u"+.5e1"_s, 5.0},
                                       {u"1,000"_s, 1.0},
                                       {u"3e"_s, 3.0},
                                       {u"2.e2"_s, 200.0},
                                       {u"nan"_s, 0.0},
                                       {u"inf"_s, 0.0},
                                       {u"-"_s, 0.0},
                                       {u"."_s, 0.0},
                                       {QString(), 0.0},
                                       {u"۵"_s, 0.0},
                                       {u"1e-999"_s, 0.0},
                                       {u"-1e999"_s, -HUGE_VAL},
                                       {digits + u'x', HUGE_VAL},
                                       {digits.left(300) + QString(100'000, u' ') + u'x', 1e300}})
        EXPECT_EQ(doubleValue(text), number) << qUtf8Printable(text.left(20));
}

TEST(Record, ResultCodesKeepTheirLow32Bits)
{
    for (const auto &[value, code] : {std::pair<const char *, qint32>("12", 12),
                                      {"\"12\"", 12},
                                      {"4294967297", 1},
                                      {"-4294967295", 1},
                                      {"9007199254740993", 1},
                                      {"2147483648", INT_MIN},
                                      {"12.9", 12},
                                      {"9223372036854775807", -1},
                                      {"1e300", -1},
                                      {"-1e300", -1},
                                      {"\"1e999\"", -1},
                                      {"null", 0},
                                      {"\"nan\"", 0},
                                      {"true", 1}})
        EXPECT_EQ(resultCode(json((QByteArray("{\"rc\":") + value + '}').constData())[u"rc"_s]), code) << value;
}

TEST(Record, DictionaryForm)
{
    EXPECT_EQ(BaseClass::modelObject(json("{}")).dictionaryRepresentation(),
              json(R"({"sm":0,"ti":0,"rc":0,"m":0,"pc":0,"rd":{},"ard":{}})").toObject());
    for (const QJsonValue &nothing :
         {QJsonValue(), QJsonValue(QJsonValue::Undefined), QJsonValue(5), QJsonValue(QJsonArray())})
        EXPECT_EQ(BaseClassp::modelObject(nothing).dictionaryRepresentation(),
                  json(R"({"sm":0,"ti":0,"rc":0,"m":0,"rd":{}})").toObject());
    EXPECT_TRUE(BaseClass::modelObject(json(R"({"ds":"متن"})")).description().contains(u"متن"_s));
}

TEST(Record, ArchivesRoundTripEveryField)
{
    const auto token =
        BaseClass::modelObject(json(R"({"st":"s","ard":{"r":"77"},"sm":1,"ti":2,"rc":3,"m":4,"ds":"d","pc":5.25,
        "rd":{"amn":"1","t":"2","pl":"3","ta":"4","tb":"5","bl":"6","mn":"7","ttl":"8","rn":"9","vu":"10","wb":"11","wl":12,
        "ldc":"13"}})"));
    ASSERT_EQ(token.dictionaryRepresentation().value(u"rd"_s).toObject().size(), 13);
    EXPECT_EQ(BaseClass::unarchived(token.archived())->dictionaryRepresentation(), token.dictionaryRepresentation());

    const auto payment = BaseClassp::modelObject(
        json(R"({"rc":0,"ti":41,"sm":1,"m":2,"st":"s","ds":"d","rd":{"urn":"000123","mrn":456}})"));
    EXPECT_EQ(BaseClassp::unarchived(payment.archived())->dictionaryRepresentation(),
              payment.dictionaryRepresentation());
    EXPECT_FALSE(BaseClass::unarchived(payment.archived()));
}

} // namespace
} // namespace kelpay

#include "platform/JsonWriter.h"
#include "platform/Log.h"
#include "security/Base64.h"
#include "security/Random.h"
#include "security/toolbox/Hex.h"

#include <gtest/gtest.h>

#include <QByteArray>
#include <QJsonArray>
#include <QJsonDocument>

#include <limits>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

Bytes bytes(std::string_view text)
{
    return Bytes(text);
}

QString lastProgrammingError;

} // namespace

TEST(Base64, RoundTripsEveryLength)
{
    EXPECT_EQ(base64EncodedString(bytes("abc")), u"YWJj"_s);
    EXPECT_EQ(base64EncodedString(bytes("ab")), u"YWI="_s);
    for (std::size_t size = 0; size < 200; ++size) {
        const Bytes data = *generateSecureRandomData(size);
        const QByteArray expected = data.toByteArray().toBase64();
        EXPECT_EQ(base64EncodedData(data)->toByteArray(), expected);
        EXPECT_EQ(base64EncodedString(data)->toLatin1(), expected);
        EXPECT_EQ(base64DecodedDataWithString(*base64EncodedString(data)), data);
        const QString lines = *base64EncodedString(data, 76);
        EXPECT_EQ(QString(lines).remove(u"\r\n"_s).toLatin1(), expected);
        EXPECT_EQ(base64DecodedData(Bytes::fromText(lines)), data);
        EXPECT_EQ(base64DecodedDataWithString(lines).has_value(), size <= 57);
    }
}

TEST(Base64, StrictRefusesWhatLenientIgnores)
{
    for (const auto *text : {"YW\nJj", "YW-Jj", " YWJj", "YWJj\n", "Y*W_J\xffj", "YWJj\xc3\xa9"}) {
        EXPECT_FALSE(base64DecodedDataWithString(QString::fromLatin1(text))) << text;
        EXPECT_EQ(base64DecodedData(bytes(text)), bytes("abc")) << text;
        EXPECT_EQ(base64DecodedDataWithData(bytes(text)), bytes("abc")) << text;
    }
    for (const auto *text : {"Y", "YW", "YWJ", "====", "Y===", "YW==YWJj", "YW=j", "=YWJ", "YWJj=", "YWJj===="}) {
        EXPECT_FALSE(base64DecodedDataWithString(QString::fromLatin1(text))) << text;
        EXPECT_FALSE(base64DecodedData(bytes(text))) << text;
    }
    // Characters whose low byte alone would belong to the alphabet.
    EXPECT_FALSE(base64DecodedDataWithString(u"YWJ\u016a"_s));
    EXPECT_FALSE(base64DecodedDataWithString(u"\u0459WI="_s));
    EXPECT_EQ(base64DecodedDataWithString(QString()), Bytes());
}

TEST(Hex, EncodesAndDecodes)
{
    EXPECT_EQ(encodeToHexString(bytes(std::string_view("\0\xab", 2))), u"00ab"_s);
    EXPECT_EQ(decodeFromHexData(bytes("00AB")), decodeFromHexData(bytes("00ab")));
    EXPECT_EQ(decodeFromHexData(bytes("00abc")), bytes(std::string_view("\0\xab", 2))) << "a lone digit is not used";
    EXPECT_EQ(decodeFromHexData(bytes("00abg")), bytes(std::string_view("\0\xab", 2)));
    const Bytes data = *generateSecureRandomData(1000);
    EXPECT_EQ(encodeToHexData(data)->toByteArray(), data.toByteArray().toHex());
    EXPECT_EQ(decodeFromHexData(*encodeToHexData(data)), data);
    EXPECT_EQ(encodeToHexString(u"سلام"_s), u"d8b3d984d8a7d985"_s);
    EXPECT_EQ(decodeFromHexString(u"d8b3d984d8a7d985"_s), u"سلام"_s);
    EXPECT_EQ(decodeFromHexString(u"efbbbf61"_s), u"\ufeffa"_s);
    EXPECT_FALSE(decodeFromHexString(u"ff"_s)) << "no UTF-8";
}

TEST(Hex, BadDigitIsAProgrammingError)
{
    const auto former = setProgrammingErrorHandler([](const QString &message) { lastProgrammingError = message; });
    for (const auto *text : {"0g", "g0", "0 ", "0x",
                             "\xff"
                             "0",
                             "0/", "0:", "0@", "0`"}) {
        lastProgrammingError.clear();
        EXPECT_FALSE(decodeFromHexData(bytes(text))) << text;
        EXPECT_TRUE(lastProgrammingError.contains(u"numberFromHex"_s)) << text;
    }
    setProgrammingErrorHandler(former);
    EXPECT_DEATH(decodeFromHexData(bytes("0g")), "numberFromHex");
}

TEST(JsonWriter, WritesWhatTheReaderReads)
{
    QString everything;
    for (char16_t c = 0; c < 0x800; ++c)
        everything += QChar(c);
    everything += u"\u2028\ufffd😀"_s;
    const QJsonObject object{{u"text"_s, everything},
                             {u"numbers"_s, QJsonArray{0, -1, 1.5, 1e300, -0.1, std::numeric_limits<qint64>::max(),
                                                       std::numeric_limits<qint64>::min(), 1e15}},
                             {u"\"key\"\n"_s, QJsonObject{{QString(), QJsonValue::Null}, {u"a"_s, true}}},
                             {u"empty"_s, QJsonArray{QJsonObject(), QJsonArray()}}};
    BytesBuilder out;
    appendJson(out, object);
    const QByteArray text = out.take().toByteArray();
    EXPECT_EQ(QJsonDocument::fromJson(text).object(), object);
    EXPECT_TRUE(text.contains("9223372036854775807,-9223372036854775808,1000000000000000"));

    BytesBuilder odd;
    appendJson(odd, {{u"lone"_s, QString(QChar(0xd800))}, {u"nan"_s, std::numeric_limits<double>::quiet_NaN()}});
    EXPECT_EQ(odd.take(), bytes("{\"lone\":\"\xef\xbf\xbd\",\"nan\":null}"));
}

} // namespace kelpay

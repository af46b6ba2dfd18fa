#include "platform/JsonWriter.h"
#include "platform/Json.h"

#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonDocument>

#include <limits>

namespace kelpay {

using namespace Qt::StringLiterals;

TEST(Json, IsReadAsDeepAsAnAnswerGoes)
{
    const auto nested = [](int depth, const char *inner) {
        return QByteArray(depth - 1, '[') + "[\"" + QByteArray(inner).repeated(40) + "\"]" + QByteArray(depth - 1, ']');
    };
    for (const char *inner : {"x", "[", "\\\"[", "]"}) {
        EXPECT_FALSE(readJson(nested(32, inner)).isNull()) << inner;
        EXPECT_TRUE(readJson(nested(33, inner)).isNull()) << inner;
    }
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
    EXPECT_EQ(odd.take(), Bytes(std::string_view("{\"lone\":\"\xef\xbf\xbd\",\"nan\":null}")));
}

} // namespace kelpay

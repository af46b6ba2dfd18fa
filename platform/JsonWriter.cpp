#include "JsonWriter.h"

#include <QJsonArray>
#include <QJsonValue>
#include <QString>

#include <charconv>
#include <cmath>
#include <utility>

namespace kelpay {

namespace {

// The texts that Qt's JSON types hand out are copies of what they hold; this one is wiped after use.
class PassingText
{
public:
    explicit PassingText(QString text) : m_text(std::move(text)) {}
    PassingText(const PassingText &) = delete;
    PassingText &operator=(const PassingText &) = delete;
    ~PassingText()
    {
        if (m_text.isDetached())
            wipe(m_text.data(), static_cast<std::size_t>(m_text.size()) * sizeof(QChar));
    }

    QStringView view() const { return m_text; }

private:
    QString m_text;
};

char *putUtf8(char *out, char32_t code)
{
    const auto tail = [&out](char32_t bits) { *out++ = static_cast<char>(0x80 | (bits & 0x3f)); };
    if (code < 0x80) {
        *out++ = static_cast<char>(code);
    } else if (code < 0x800) {
        *out++ = static_cast<char>(0xc0 | code >> 6);
        tail(code);
    } else if (code < 0x10000) {
        *out++ = static_cast<char>(0xe0 | code >> 12);
        tail(code >> 6);
        tail(code);
    } else {
        *out++ = static_cast<char>(0xf0 | code >> 18);
        tail(code >> 12);
        tail(code >> 6);
        tail(code);
    }
    return out;
}

char *putEscaped(char *out, char16_t c)
{
    constexpr std::string_view digits = "0123456789abcdef";
    constexpr std::string_view named = "\"\\\b\f\n\r\t";
    constexpr std::string_view letters = "\"\\bfnrt";
    *out++ = '\\';
    if (const auto at = named.find(static_cast<char>(c)); at != std::string_view::npos) {
        *out++ = letters[at];
        return out;
    }
    for (const char digit : {'u', '0', '0', digits[c >> 4], digits[c & 15]})
        *out++ = digit;
    return out;
}

void appendText(BytesBuilder &out, QStringView text)
{
    constexpr std::size_t longest = 6; // "\u001f"
    const std::size_t before = out.size();
    auto *const begin = reinterpret_cast<char *>(out.extend(longest * static_cast<std::size_t>(text.size()) + 2));
    char *end = begin;
    *end++ = '"';
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t c = text.utf16()[i];
        if (c < 0x20 || c == u'"' || c == u'\\') {
            end = putEscaped(end, c);
        } else if (c < 0x80) {
            *end++ = static_cast<char>(c);
        } else if (!QChar::isSurrogate(c)) {
            end = putUtf8(end, c);
        } else if (QChar::isHighSurrogate(c) && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
            end = putUtf8(end, QChar::surrogateToUcs4(c, text.utf16()[++i]));
        } else {
            end = putUtf8(end, QChar::ReplacementCharacter);
        }
    }
    *end++ = '"';
    out.truncate(before + static_cast<std::size_t>(end - begin));
}

void appendNumber(BytesBuilder &out, const QJsonValue &value)
{
    char digits[32];
    const double number = value.toDouble();
    const qint64 integer = value.toInteger();
    std::to_chars_result written{};
    if (static_cast<double>(integer) == number)
        written = std::to_chars(std::begin(digits), std::end(digits), integer);
    else if (std::isfinite(number))
        written = std::to_chars(std::begin(digits), std::end(digits), number);
    else
        return out.append(std::string_view("null"));
    out.append(digits, static_cast<std::size_t>(written.ptr - digits));
}

void appendValue(BytesBuilder &out, const QJsonValue &value);

void appendArray(BytesBuilder &out, const QJsonArray &array)
{
    out.append('[');
    for (qsizetype i = 0; i < array.size(); ++i) {
        if (i > 0)
            out.append(',');
        appendValue(out, array.at(i));
    }
    out.append(']');
}

void appendValue(BytesBuilder &out, const QJsonValue &value)
{
    switch (value.type()) {
    case QJsonValue::String:
        return appendText(out, PassingText(value.toString()).view());
    case QJsonValue::Double:
        return appendNumber(out, value);
    case QJsonValue::Bool:
        return out.append(value.toBool() ? std::string_view("true") : std::string_view("false"));
    case QJsonValue::Object:
        return appendJson(out, value.toObject());
    case QJsonValue::Array:
        return appendArray(out, value.toArray());
    case QJsonValue::Null:
    case QJsonValue::Undefined:
        return out.append(std::string_view("null"));
    }
}

} // namespace

void appendJson(BytesBuilder &out, const QJsonObject &object)
{
    JsonObjectWriter writer(out);
    for (auto entry = object.constBegin(); entry != object.constEnd(); ++entry)
        writer.put(entry.key(), entry.value());
}

BytesBuilder &JsonObjectWriter::member(const QString &key)
{
    if (!std::exchange(m_isFirst, false))
        m_out.append(',');
    appendText(m_out, key);
    m_out.append(':');
    return m_out;
}

void JsonObjectWriter::put(const QString &key, const QJsonValue &value)
{
    appendValue(member(key), value);
}

void JsonObjectWriter::put(const QString &key, const Bytes &text)
{
    BytesBuilder &out = member(key);
    out.append('"');
    for (const char c : text.view()) {
        char escaped[6];
        if (static_cast<unsigned char>(c) < 0x20 || c == '"' || c == '\\')
            out.append(escaped, static_cast<std::size_t>(putEscaped(escaped, static_cast<char16_t>(c)) - escaped));
        else
            out.append(c);
    }
    out.append('"');
}

} // namespace kelpay

// Base64, hexadecimal and numbers, against plain readings and there and back again.

#include "Fuzz.h"

#include "platform/Formats.h"
#include "records/Record.h"
#include "security/Base64.h"
#include "security/toolbox/Hex.h"

#include <cstdlib>

namespace kelpay::fuzz {

using namespace Qt::StringLiterals;

namespace {

constexpr QByteArrayView alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::optional<Bytes> plainBase64(QString text, UnknownCharacters unknown)
{
    const auto isKnown = [](QChar c) { return c.unicode() < 0x80 && c != u'\0' && alphabet.contains(c.toLatin1()); };
    if (unknown == UnknownCharacters::Ignore)
        text.removeIf([&](QChar c) { return c != u'=' && !isKnown(c); });
    if (text.size() % 4 != 0)
        return std::nullopt;
    for (int i = 0; i < 2 && text.endsWith(u'='); ++i)
        text.chop(1);
    std::string bytes;
    unsigned bits = 0;
    int count = 0;
    for (const QChar c : text) {
        if (!isKnown(c))
            return std::nullopt;
        bits = bits << 6 | static_cast<unsigned>(alphabet.indexOf(c.toLatin1()));
        count += 6;
        if (count >= 8) {
            count -= 8;
            bytes += static_cast<char>(bits >> count);
        }
    }
    return Bytes(bytes);
}

std::optional<Bytes> plainHex(const QByteArray &text)
{
    const QByteArray pairs = text.first(text.size() / 2 * 2);
    for (const char c : pairs) {
        if (c == '\0' || !QByteArrayView("0123456789abcdefABCDEF").contains(c))
            return std::nullopt;
    }
    return Bytes::fromByteArray(QByteArray::fromHex(pairs));
}

/// What C's own reading takes a text for, without the words and the hexadecimal numbers that it knows.
double plainNumber(const QString &text)
{
    const QByteArray latin = text.trimmed().toLatin1();
    const QByteArray digits = latin.startsWith('-') || latin.startsWith('+') ? latin.sliced(1) : latin;
    if (digits.isEmpty() || QByteArrayView("0123456789.").indexOf(digits[0]) < 0 || digits.toLower().startsWith("0x"))
        return 0;
    return std::strtod(latin.constData(), nullptr);
}

} // namespace

void encodings(const QByteArray &input)
{
    const Bytes bytes = Bytes::fromByteArray(input);
    const QString text = QString::fromUtf8(input);
    for (const auto unknown : {UnknownCharacters::Refuse, UnknownCharacters::Ignore}) {
        require(decodeBase64(bytes.view(), unknown) == plainBase64(QString::fromLatin1(input), unknown), "base64");
        require(decodeBase64(QStringView(text), unknown) == plainBase64(text, unknown), "base64 of a text");
    }
    require(base64DecodedData(*base64EncodedData(bytes)) == bytes, "base64, there and back");
    const int width = 4 * (1 + static_cast<int>(input.size()) % 32);
    const QString lines = *base64EncodedString(bytes, width);
    for (const QString &line : lines.split(u"\r\n"_s))
        require(line.size() <= width, "base64 in lines");
    require(QString(lines).remove(u"\r\n"_s) == *base64EncodedString(bytes), "base64 without its line breaks");

    require(decodeFromHexData(bytes) == plainHex(input), "hexadecimal");
    require(decodeFromHexData(*encodeToHexData(bytes)) == bytes, "hexadecimal, there and back");
    require(encodeToHexString(bytes)->toLatin1() == input.toHex(), "hexadecimal text");
    require(!text.isValidUtf16() || decodeFromHexString(*encodeToHexString(text)) == text, "text as hexadecimal");
}

void numbers(const QByteArray &input)
{
    const QString text = QString::fromUtf8(input);
    const double plain = plainNumber(text);
    require(doubleValue(text) == plain, "a number as C reads it");
    const bool isHeld = plain >= -0x1p63 && plain < 0x1p63;
    require(resultCode(text) == (isHeld ? static_cast<qint32>(static_cast<qint64>(plain)) : -1), "a result code");
    // C takes a text that goes on after a zero byte, or in another script, to its first such character.
    require(integerValue(text) == std::strtoll(text.trimmed().toLatin1().constData(), nullptr, 10),
            "an integer as C reads it");
}

} // namespace kelpay::fuzz

#include "security/toolbox/Hex.h"

#include "platform/Log.h"
#include "security/StrictUtf8.h"

#include <QtEndian>

#include <array>
#include <cstring>
#include <new>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

constexpr std::string_view digits = "0123456789abcdef";

template <typename Char>
constexpr auto pairs = [] {
    std::array<std::array<Char, 2>, 256> table{};
    for (std::size_t i = 0; i < table.size(); ++i)
        table[i] = {Char(digits[i >> 4]), Char(digits[i & 15])};
    return table;
}();

constexpr std::uint8_t invalid = 0xff;
constexpr auto values = [] {
    std::array<std::uint8_t, 256> table{};
    table.fill(invalid);
    for (std::uint8_t i = 0; i < 16; ++i) {
        table[static_cast<std::uint8_t>(digits[i])] = i;
        if (i >= 10)
            table[static_cast<std::size_t>('A' + i - 10)] = i;
    }
    return table;
}();

template <typename Char> Char *putByte(Char *out, quint64 byte)
{
    std::memcpy(out, pairs<Char>[byte].data(), 2 * sizeof(Char));
    return out + 2;
}

template <typename Char> void encode(const Bytes &data, Char *out)
{
    const auto bytes = data.span();
    const std::size_t whole = bytes.size() / sizeof(quint64) * sizeof(quint64);
    // Eight bytes a read: single ones wait for the writes whenever the two buffers lie unluckily.
    for (std::size_t at = 0; at < whole; at += sizeof(quint64)) {
        auto word = qFromLittleEndian<quint64>(bytes.data() + at);
        for (std::size_t i = 0; i < sizeof word; ++i, word >>= 8)
            out = putByte(out, word & 0xff);
    }
    for (const auto byte : bytes.subspan(whole))
        out = putByte(out, byte);
}

} // namespace

std::optional<Bytes> encodeToHexData(const Bytes &data)
try {
    BytesBuilder builder(2 * data.size());
    encode(data, reinterpret_cast<char *>(builder.extend(2 * data.size())));
    return builder.take();
} catch (const std::bad_alloc &) {
    return std::nullopt;
}

std::optional<QString> encodeToHexString(const Bytes &data)
try {
    QString text(static_cast<qsizetype>(2 * data.size()), Qt::Uninitialized);
    encode(data, reinterpret_cast<char16_t *>(text.data()));
    return text;
} catch (const std::bad_alloc &) {
    return std::nullopt;
}

std::optional<Bytes> decodeFromHexData(const Bytes &hex)
try {
    BytesBuilder builder(hex.size() / 2);
    auto *out = builder.extend(hex.size() / 2);
    const auto *in = hex.data();
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
        const auto high = values[in[i]];
        const auto low = values[in[i + 1]];
        if (high == invalid || low == invalid) {
            programmingError(u"numberFromHex: (hex >= '0' && hex <= '9') || (hex >= 'a' && hex <= 'f') || "
                             u"(hex >= 'A' && hex <= 'F')"_s);
            return std::nullopt;
        }
        *out++ = static_cast<std::uint8_t>(high << 4 | low);
    }
    return builder.take();
} catch (const std::bad_alloc &) {
    return std::nullopt;
}

std::optional<QString> encodeToHexString(const QString &text)
try {
    return encodeToHexString(Bytes::fromText(text));
} catch (const std::bad_alloc &) {
    return std::nullopt;
}

std::optional<QString> decodeFromHexString(const QString &hex)
try {
    const auto bytes = decodeFromHexData(Bytes::fromText(hex));
    return bytes ? strictUtf8(*bytes) : std::nullopt;
} catch (const std::bad_alloc &) {
    return std::nullopt;
}

} // namespace kelpay

#include "security/Base64.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <new>
#include <type_traits>

namespace kelpay {

namespace {

constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Two characters for each 12 bits: half the look-ups of one for each 6.
template <typename Char>
constexpr auto pairs = [] {
    std::array<std::array<Char, 2>, 4096> table{};
    for (std::size_t i = 0; i < table.size(); ++i)
        table[i] = {Char(alphabet[i >> 6]), Char(alphabet[i & 63])};
    return table;
}();

template <typename Char> void putPair(Char *out, int bits)
{
    std::memcpy(out, pairs<Char>[static_cast<std::size_t>(bits)].data(), 2 * sizeof(Char));
}

// What a character adds to a group of four, by its place; characters outside the alphabet set the highest bit.
constexpr std::uint32_t invalid = 0x80000000;
constexpr auto values = [] {
    std::array<std::array<std::uint32_t, 256>, 4> tables{};
    for (std::size_t place = 0; place < tables.size(); ++place) {
        tables[place].fill(invalid);
        for (std::size_t i = 0; i < alphabet.size(); ++i)
            tables[place][static_cast<std::uint8_t>(alphabet[i])] = static_cast<std::uint32_t>(i << (18 - 6 * place));
    }
    return tables;
}();

constexpr std::size_t encodedSize(std::size_t size)
{
    return (size + 2) / 3 * 4;
}

template <typename Char> Char *encode(const std::uint8_t *in, std::size_t size, Char *out)
{
    for (; size >= 3; size -= 3, in += 3, out += 4) {
        putPair(out, in[0] << 4 | in[1] >> 4);
        putPair(out + 2, (in[1] & 15) << 8 | in[2]);
    }
    if (size == 0)
        return out;
    const int second = size == 2 ? in[1] : 0;
    putPair(out, in[0] << 4 | second >> 4);
    putPair(out + 2, (second & 15) << 8);
    out[3] = Char('=');
    if (size == 1)
        out[2] = Char('=');
    return out + 4;
}

// Decodes `groups` groups of four. Gives what they add up to: `invalid` shows there, and in `all` a character beyond 8
// bits.
template <typename Char>
std::uint32_t decodeGroups(const Char *in, std::size_t groups, std::uint8_t *out, std::uint32_t &all)
{
    using Four = std::conditional_t<sizeof(Char) == 1, std::uint32_t, std::uint64_t>;
    constexpr unsigned width = 8 * sizeof(Char);
    constexpr bool isLittle = std::endian::native == std::endian::little;
    std::uint32_t seen = 0;
    Four characters = 0;
    const auto next = [&] {
        Four four = 0;
        std::memcpy(&four, in, sizeof(four));
        const auto value = [four](unsigned place) {
            return values[place][four >> width * (isLittle ? place : 3 - place) & 0xff];
        };
        const std::uint32_t bits = value(0) | value(1) | value(2) | value(3);
        characters |= four;
        seen |= bits;
        const std::uint32_t bytes = isLittle ? __builtin_bswap32(bits << 8) : bits << 8;
        in += 4;
        return bytes;
    };
    // A fourth byte goes where the next group begins, but for the last one.
    for (; groups > 1; --groups, out += 3) {
        const std::uint32_t bytes = next();
        std::memcpy(out, &bytes, 4);
    }
    if (groups > 0) {
        const std::uint32_t bytes = next();
        std::memcpy(out, &bytes, 3);
    }
    if constexpr (width > 8)
        all |= (characters & 0xff00ff00ff00ff00) != 0 ? 0x100 : 0;
    return seen;
}

template <typename Char> std::optional<Bytes> decode(const Char *text, std::size_t size)
{
    if (size % 4 != 0)
        return std::nullopt;
    if (size == 0)
        return Bytes();
    const std::size_t padding = text[size - 1] != Char('=') ? 0 : text[size - 2] != Char('=') ? 1 : 2;
    // In the last group the padding counts as zeros.
    std::array<Char, 4> last{};
    std::copy_n(text + size - 4, 4, last.begin());
    std::fill_n(last.rbegin(), padding, Char('A'));

    const std::size_t decodedSize = size / 4 * 3;
    BytesBuilder builder(decodedSize);
    auto *out = builder.extend(decodedSize);
    std::uint32_t all = 0;
    const std::uint32_t seen =
        decodeGroups(text, size / 4 - 1, out, all) | decodeGroups(last.data(), 1, out + decodedSize - 3, all);
    if ((seen & invalid) != 0 || all > 0xff)
        return std::nullopt;
    builder.truncate(decodedSize - padding);
    return builder.take();
}

template <typename Char> std::optional<Bytes> decodeKnown(const Char *text, std::size_t size)
{
    BytesBuilder known(size);
    for (std::size_t i = 0; i < size; ++i) {
        const auto code = static_cast<std::make_unsigned_t<Char>>(text[i]);
        if (code <= 0xff && (values[0][code] != invalid || code == '='))
            known.append(static_cast<char>(code));
    }
    const Bytes kept = known.take();
    return decode(kept.view().data(), kept.size());
}

} // namespace

std::optional<QString> base64EncodedString(const Bytes &data)
try {
    QString text(static_cast<qsizetype>(encodedSize(data.size())), Qt::Uninitialized);
    encode(data.data(), data.size(), reinterpret_cast<char16_t *>(text.data()));
    return text;
} catch (const std::bad_alloc &) {
    return std::nullopt;
}

std::optional<QString> base64EncodedString(const Bytes &data, int lineLength)
try {
    const auto width = static_cast<std::size_t>(lineLength);
    const std::size_t bytesInLine = width / 4 * 3;
    const std::size_t characters = encodedSize(data.size());
    const std::size_t breaks = characters == 0 ? 0 : (characters - 1) / width;
    QString text(static_cast<qsizetype>(characters + 2 * breaks), Qt::Uninitialized);
    auto *out = reinterpret_cast<char16_t *>(text.data());
    for (std::size_t done = 0; done < data.size(); done += bytesInLine) {
        if (done > 0) {
            *out++ = u'\r';
            *out++ = u'\n';
        }
        out = encode(data.data() + done, std::min(bytesInLine, data.size() - done), out);
    }
    return text;
} catch (const std::bad_alloc &) {
    return std::nullopt;
}

std::optional<Bytes> base64EncodedData(const Bytes &data)
try {
    BytesBuilder builder(encodedSize(data.size()));
    encode(data.data(), data.size(), reinterpret_cast<char *>(builder.extend(encodedSize(data.size()))));
    return builder.take();
} catch (const std::bad_alloc &) {
    return std::nullopt;
}

std::optional<Bytes> decodeBase64(QStringView text, UnknownCharacters unknown)
try {
    const auto size = static_cast<std::size_t>(text.size());
    return unknown == UnknownCharacters::Ignore ? decodeKnown(text.utf16(), size) : decode(text.utf16(), size);
} catch (const std::bad_alloc &) {
    return std::nullopt;
}

std::optional<Bytes> decodeBase64(std::string_view text, UnknownCharacters unknown)
try {
    return unknown == UnknownCharacters::Ignore ? decodeKnown(text.data(), text.size())
                                                : decode(text.data(), text.size());
} catch (const std::bad_alloc &) {
    return std::nullopt;
}

std::optional<Bytes> base64DecodedDataWithString(const QString &text)
{
    return decodeBase64(QStringView(text), UnknownCharacters::Refuse);
}

std::optional<Bytes> base64DecodedDataWithData(const Bytes &text)
{
    return decodeBase64(text.view(), UnknownCharacters::Ignore);
}

std::optional<Bytes> base64DecodedData(const Bytes &text)
{
    return base64DecodedDataWithData(text);
}

} // namespace kelpay

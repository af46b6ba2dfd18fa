#include "security/keychain/CheckedValue.h"

#include "security/Base64.h"
#include "security/Digests.h"

#include <new>

namespace kelpay {

namespace {

constexpr std::size_t digestSize = 32;
constexpr std::uint8_t noValue = 0;
constexpr std::uint8_t someValue = 1;

// A context says the length of each of its parts, so where it ends is never in doubt.
std::optional<Bytes> digestOf(const Bytes &context, const Bytes &content)
{
    BytesBuilder all(context.size() + content.size());
    all.append(context);
    all.append(content);
    return SHA256(all.take());
}

} // namespace

std::optional<Bytes> checkedText(const std::optional<Bytes> &value, const Bytes &context)
try {
    BytesBuilder content(value ? 1 + value->size() : 1);
    content.append(static_cast<char>(value ? someValue : noValue));
    if (value)
        content.append(*value);
    const Bytes plain = content.take();
    const auto digest = digestOf(context, plain);
    if (!digest)
        return std::nullopt;
    BytesBuilder checked(digestSize + plain.size());
    checked.append(*digest);
    checked.append(plain);
    return base64EncodedData(checked.take());
} catch (const std::bad_alloc &) {
    return std::nullopt;
}

CheckedValue openCheckedText(const Bytes &text, const Bytes &context)
try {
    const auto checked = decodeBase64(text.view(), UnknownCharacters::Refuse);
    if (!checked || checked->size() <= digestSize)
        return {};
    const Bytes content(checked->data() + digestSize, checked->size() - digestSize);
    if (digestOf(context, content) != Bytes(checked->data(), digestSize))
        return {};
    switch (content.data()[0]) {
    case noValue:
        return {content.size() == 1, std::nullopt};
    case someValue:
        return {true, Bytes(content.data() + 1, content.size() - 1)};
    default:
        return {};
    }
} catch (const std::bad_alloc &) {
    return {};
}

} // namespace kelpay

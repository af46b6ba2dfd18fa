#include "security/Digests.h"

#include "platform/Log.h"
#include "security/OpenSsl.h"

#include <memory>
#include <new>

namespace kelpay {

namespace {

std::optional<Bytes> digestOf(const char *name, std::span<const std::string_view> parts)
try {
    const openssl::ErrorScope errors;
    const std::unique_ptr<EVP_MD, decltype(&EVP_MD_free)> digest(EVP_MD_fetch(openssl::libraryContext(), name, nullptr),
                                                                 EVP_MD_free);
    const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(), EVP_MD_CTX_free);
    BytesBuilder builder(EVP_MAX_MD_SIZE);
    unsigned length = 0;
    bool isDone = digest && context && EVP_DigestInit_ex2(context.get(), digest.get(), nullptr) > 0;
    for (const std::string_view part : parts)
        isDone = isDone && EVP_DigestUpdate(context.get(), part.data(), part.size()) > 0;
    std::uint8_t *const out = builder.extend(EVP_MAX_MD_SIZE);
    if (!isDone || EVP_DigestFinal_ex(context.get(), out, &length) <= 0) {
        qCWarning(logSecurity, "the message digest %s is not available: %s", name,
                  openssl::ErrorScope::reason().constData());
        return std::nullopt;
    }
    builder.truncate(length);
    return builder.take();
} catch (const std::bad_alloc &) {
    return std::nullopt;
}

} // namespace

std::optional<Bytes> digestNamed(const char *name, const Bytes &data)
{
    const std::string_view whole = data.view();
    return digestOf(name, {&whole, 1});
}

std::optional<Bytes> SHA256(std::span<const std::string_view> parts)
{
    return digestOf("SHA256", parts);
}

std::optional<Bytes> SHA1(const Bytes &data)
{
    return digestNamed("SHA1", data);
}

std::optional<Bytes> SHA224(const Bytes &data)
{
    return digestNamed("SHA224", data);
}

std::optional<Bytes> SHA256(const Bytes &data)
{
    return digestNamed("SHA256", data);
}

std::optional<Bytes> SHA384(const Bytes &data)
{
    return digestNamed("SHA384", data);
}

std::optional<Bytes> SHA512(const Bytes &data)
{
    return digestNamed("SHA512", data);
}

} // namespace kelpay

#include "security/Digests.h"

#include "platform/Log.h"
#include "security/OpenSsl.h"

#include <new>

namespace kelpay {

std::optional<Bytes> digestNamed(const char *name, const Bytes &data)
try {
    const openssl::ErrorScope errors;
    BytesBuilder builder(EVP_MAX_MD_SIZE);
    std::size_t length = 0;
    if (EVP_Q_digest(openssl::libraryContext(), name, nullptr, data.data(), data.size(),
                     builder.extend(EVP_MAX_MD_SIZE), &length) <= 0) {
        qCWarning(logSecurity, "the message digest %s is not available: %s", name,
                  openssl::ErrorScope::reason().constData());
        return std::nullopt;
    }
    builder.truncate(length);
    return builder.take();
} catch (const std::bad_alloc &) {
    return std::nullopt;
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

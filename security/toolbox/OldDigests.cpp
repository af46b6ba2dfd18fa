#include "security/toolbox/OldDigests.h"

#include "security/Digests.h"
#include "security/toolbox/Md2.h"

#include <new>

namespace kelpay {

std::optional<Bytes> MD2(const Bytes &data)
try {
    Md2 md2;
    md2.update(data.span());
    return md2.finish();
} catch (const std::bad_alloc &) {
    return std::nullopt;
}

std::optional<Bytes> MD4(const Bytes &data)
{
    return digestNamed("MD4", data);
}

std::optional<Bytes> MD5(const Bytes &data)
{
    return digestNamed("MD5", data);
}

} // namespace kelpay

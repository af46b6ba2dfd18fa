#include "Bytes.h"
#include "SecretPages.h"

#include <cstdlib>

namespace kelpay::SecretPages {

void *take(std::size_t size) noexcept
{
    return std::calloc(1, size);
}

void release(void *pages, std::size_t size) noexcept
{
    wipe(pages, size);
    std::free(pages);
}

} // namespace kelpay::SecretPages

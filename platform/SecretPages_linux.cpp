#include "Bytes.h"
#include "Log.h"
#include "SecretPages.h"

#include <QtGlobal>

#include <cerrno>
#include <sys/mman.h>
#include <unistd.h>

namespace kelpay::SecretPages {

namespace {

std::size_t whole(std::size_t size)
{
    static const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return (size + page - 1) / page * page;
}

} // namespace

void *take(std::size_t size) noexcept
{
    const std::size_t length = whole(size);
    void *pages = mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pages == MAP_FAILED)
        return nullptr;
    const bool isKept = mlock(pages, length) == 0;
    const int reason = errno;
    madvise(pages, length, MADV_DONTDUMP);
    madvise(pages, length, MADV_WIPEONFORK);
    if (!isKept) {
        [[maybe_unused]] static const bool isLogged = [reason] {
            qCWarning(logSecurity, "what is typed can't be kept out of swap space: %s; raise RLIMIT_MEMLOCK",
                      qUtf8Printable(qt_error_string(reason)));
            return true;
        }();
    }
    return pages;
}

void release(void *pages, std::size_t size) noexcept
{
    wipe(pages, size);
    munmap(pages, whole(size));
}

} // namespace kelpay::SecretPages

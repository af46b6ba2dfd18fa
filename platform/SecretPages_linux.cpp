#include "Bytes.h"
#include "Log.h"
#include "SecretPages.h"

#include <QtGlobal>

#include <atomic>
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

/// The smallest pages that were let go of last, wiped: making them and giving them back takes longer than a request's
/// cipher.
std::atomic<void *> idle{nullptr};
/// Whether all that were ever taken are locked.
std::atomic<bool> isAllKept{true};

} // namespace

void *take(std::size_t size) noexcept
{
    const std::size_t length = whole(size);
    void *pages = length == whole(1) ? idle.exchange(nullptr) : nullptr;
    const bool isIdle = pages;
    if (!isIdle) {
        pages = mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (pages == MAP_FAILED)
            return nullptr;
        madvise(pages, length, MADV_DONTDUMP);
        madvise(pages, length, MADV_WIPEONFORK);
    }
    static const pid_t owner = getpid(); // a child's are not locked
    if (isIdle && isAllKept && owner == getpid())
        return pages;
    const bool isKept = mlock(pages, length) == 0;
    const int reason = errno;
    if (!isKept) {
        isAllKept = false;
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
    void *none = nullptr;
    if (whole(size) != whole(1) || !idle.compare_exchange_strong(none, pages))
        munmap(pages, whole(size));
}

} // namespace kelpay::SecretPages

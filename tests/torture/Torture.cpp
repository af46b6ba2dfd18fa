// Preloaded: makes the call of number TORTURE_AT, of the kind TORTURE_KIND, fail; with 0 it says at the end how many
// there were. Counted are the calls of all threads and libraries: what one of them makes of a failure is ours to bear.
// Of kind "new" are only the allocations that the program's own code makes; of kind "site" those of anybody that come
// by a way of calls no allocation came by before.

#ifndef _GNU_SOURCE
#define _GNU_SOURCE
#endif
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <link.h>
#include <new>
#include <pthread.h>
#include <string_view>
#include <sys/socket.h>
#include <ucontext.h>
#include <unistd.h>

namespace {

std::atomic<const char *> failing{nullptr};
std::atomic<long> count{0};
long at = 0;
std::uintptr_t ownBegin = 0;
std::uintptr_t ownEnd = 0;

bool fails(const char *kind, int error)
{
    const char *const wanted = failing;
    if (!wanted || std::strcmp(wanted, kind) != 0 || ++count != at)
        return false;
    failing = nullptr;
    if (std::getenv("TORTURE_TRACE")) {
        std::array<void *, 40> frames{};
        backtrace_symbols_fd(frames.data(), backtrace(frames.data(), static_cast<int>(frames.size())), STDERR_FILENO);
    }
    errno = error;
    return true;
}

/// Whether nothing was allocated by these calls yet.
bool isNewWay()
{
    static thread_local bool isLooking = false;
    const char *const kind = failing;
    if (!kind || std::strcmp(kind, "site") != 0 || isLooking)
        return false;
    isLooking = true; // Looking may allocate.
    std::array<void *, 10> frames{};
    const int depth = backtrace(frames.data(), static_cast<int>(frames.size()));
    isLooking = false;
    std::uint64_t way = 1;
    for (int i = 2; i < depth; ++i)
        way = (way ^ reinterpret_cast<std::uintptr_t>(frames[i])) * 0x9e3779b97f4a7c15U;
    static std::array<std::atomic<std::uint64_t>, 1 << 17> known;
    for (std::size_t at = way >> 47;; at = (at + 1) % known.size()) {
        std::uint64_t empty = 0;
        if (known[at].compare_exchange_strong(empty, way))
            return true;
        if (empty == way)
            return false;
    }
}

bool failsAllocation()
{
    return fails("memory", ENOMEM) || (isNewWay() && fails("site", ENOMEM));
}

template <class Function> Function *next(const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

/// Says whose code could not bear a failure; the crash itself follows.
void tellWhoCrashed(int signal, siginfo_t *, void *context)
{
    const auto &registers = static_cast<ucontext_t *>(context)->uc_mcontext;
#ifdef __x86_64__
    const auto at = static_cast<std::uintptr_t>(registers.gregs[REG_RIP]);
#else
    const auto at = static_cast<std::uintptr_t>(registers.pc);
#endif
    if (at < ownBegin || at >= ownEnd) {
        constexpr std::string_view said = "torture: a library crashed\n";
        (void)!write(STDERR_FILENO, said.data(), said.size());
    }
    std::signal(signal, SIG_DFL);
}

} // namespace

#define TORTURED(kind, error, result, name, arguments, ...)                                                            \
    extern "C" result name arguments                                                                                   \
    {                                                                                                                  \
        static auto *const real = next<result arguments>(#name);                                                       \
        return fails(kind, error) ? result(-1) : real(__VA_ARGS__);                                                    \
    }

TORTURED("write", ENOSPC, ssize_t, write, (int fd, const void *data, size_t size), fd, data, size)
TORTURED("write", ENOSPC, ssize_t, pwrite64, (int fd, const void *data, size_t size, off64_t offset), fd, data, size,
         offset)
TORTURED("sync", EIO, int, fsync, (int fd), fd)
TORTURED("sync", EIO, int, fdatasync, (int fd), fd)
TORTURED("rename", EACCES, int, rename, (const char *from, const char *to), from, to)
TORTURED("rename", EACCES, int, link, (const char *from, const char *to), from, to)
TORTURED("rename", EACCES, int, unlink, (const char *path), path)
TORTURED("socket", EMFILE, int, socket, (int domain, int type, int protocol), domain, type, protocol)
TORTURED("socket", ENETUNREACH, int, connect, (int fd, const sockaddr *address, socklen_t size), fd, address, size)
TORTURED("random", EIO, ssize_t, getrandom, (void *data, size_t size, unsigned flags), data, size, flags)
TORTURED("random", EIO, int, getentropy, (void *data, size_t size), data, size)

#define TORTURED_OPEN(name)                                                                                            \
    extern "C" int name(const char *path, int flags, ...)                                                              \
    {                                                                                                                  \
        static auto *const real = next<int(const char *, int, ...)>(#name);                                            \
        std::va_list rest;                                                                                             \
        va_start(rest, flags);                                                                                         \
        const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(rest, mode_t) : 0;                           \
        va_end(rest);                                                                                                  \
        return fails("open", EMFILE) ? -1 : real(path, flags, mode);                                                   \
    }
TORTURED_OPEN(open)
TORTURED_OPEN(open64)

extern "C" int pthread_create(pthread_t *thread, const pthread_attr_t *attributes, void *(*start)(void *),
                              void *context)
{
    static auto *const real = next<decltype(pthread_create)>("pthread_create");
    return fails("thread", EAGAIN) ? EAGAIN : real(thread, attributes, start, context);
}

extern "C" void *mallocOfTheSystem(std::size_t size) __asm__("__libc_malloc");
extern "C" void *callocOfTheSystem(std::size_t count, std::size_t size) __asm__("__libc_calloc");
extern "C" void *reallocOfTheSystem(void *former, std::size_t size) __asm__("__libc_realloc");

extern "C" void *malloc(std::size_t size)
{
    return failsAllocation() ? nullptr : mallocOfTheSystem(size);
}
extern "C" void *calloc(std::size_t number, std::size_t size)
{
    return failsAllocation() ? nullptr : callocOfTheSystem(number, size);
}
extern "C" void *realloc(void *former, std::size_t size)
{
    return failsAllocation() ? nullptr : reallocOfTheSystem(former, size);
}

void *operator new(std::size_t size)
{
    const auto caller = reinterpret_cast<std::uintptr_t>(__builtin_return_address(0));
    const bool isOwn = caller >= ownBegin && caller < ownEnd;
    void *const storage = isOwn && fails("new", ENOMEM) ? nullptr : std::malloc(size == 0 ? 1 : size);
    return storage ? storage : throw std::bad_alloc();
}

/// What the program that calls this does from here on counts.
extern "C" [[gnu::visibility("default")]] void beginTorture()
{
    // The program itself is the first in the list.
    dl_iterate_phdr(
        [](dl_phdr_info *program, std::size_t, void *) {
            ownBegin = program->dlpi_addr;
            for (int i = 0; i < program->dlpi_phnum; ++i) {
                const auto &segment = program->dlpi_phdr[i];
                if (segment.p_type == PT_LOAD)
                    ownEnd = program->dlpi_addr + segment.p_vaddr + segment.p_memsz;
            }
            return 1;
        },
        nullptr);
    struct sigaction crash = {};
    crash.sa_sigaction = tellWhoCrashed;
    crash.sa_flags = SA_SIGINFO;
    sigaction(SIGSEGV, &crash, nullptr);
    at = std::atol(std::getenv("TORTURE_AT"));
    failing = std::getenv("TORTURE_KIND");
}

[[gnu::destructor]] static void tell()
{
    if (failing && at == 0)
        std::fprintf(stderr, "torture: %ld\n", count.load());
}

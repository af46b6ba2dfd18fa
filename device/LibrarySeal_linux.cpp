#include "LibrarySeal.h"

#include "security/Digests.h"

#include <algorithm>
#include <iterator>
#include <link.h>
#include <span>
#include <string_view>
#include <vector>

namespace kelpay {

namespace {

/// Filled in by cmake/seal-library. It lies in writable data, which the hash leaves out; volatile, because the compiler
/// must not take the zeros for granted.
[[gnu::section("kelpay_seal"), gnu::used]] volatile unsigned char seal[32] = {};

struct Library
{
    ElfW(Addr) begin = 0;
    std::span<const ElfW(Phdr)> segments;
    bool isShared = false;
};

/// Only finds the library, and throws nothing, because the loader holds its lock meanwhile.
int visit(dl_phdr_info *object, std::size_t, void *result)
{
    const std::span segments(object->dlpi_phdr, object->dlpi_phnum);
    const auto own = reinterpret_cast<ElfW(Addr)>(&seal) - object->dlpi_addr;
    const bool isOurs = std::any_of(segments.begin(), segments.end(), [own](const auto &segment) {
        return segment.p_type == PT_LOAD && own >= segment.p_vaddr && own - segment.p_vaddr < segment.p_memsz;
    });
    if (isOurs)
        *static_cast<Library *>(result) = {object->dlpi_addr, segments, object->dlpi_name && *object->dlpi_name};
    return isOurs ? 1 : 0;
}

/// Every read-only segment but the first: an installer may rewrite the names that lie there.
bool isSealed(const ElfW(Phdr) & segment)
{
    return segment.p_type == PT_LOAD && (segment.p_flags & (PF_R | PF_W)) == PF_R && segment.p_offset != 0;
}

} // namespace

bool LibrarySeal::isBroken()
{
    Library library;
    dl_iterate_phdr(visit, &library);
    if (!library.isShared)
        return false;
    std::vector<std::string_view> sealed;
    for (const auto &segment : library.segments) {
        if (isSealed(segment))
            sealed.emplace_back(reinterpret_cast<const char *>(library.begin + segment.p_vaddr), segment.p_filesz);
    }
    const auto actual = SHA256(sealed);
    return !actual ||
           !std::equal(actual->view().begin(), actual->view().end(), std::begin(seal), std::end(seal),
                       [](char now, unsigned char built) { return static_cast<unsigned char>(now) == built; });
}

} // namespace kelpay

#include "LibrarySeal.h"

#include <QCryptographicHash>

#include <algorithm>
#include <iterator>
#include <link.h>
#include <span>
#include <vector>

namespace kelpay {

namespace {

/// Filled in by cmake/seal-library. It lies in writable data, which the hash leaves out; volatile, because the compiler
/// must not take the zeros for granted.
[[gnu::section("kelpay_seal"), gnu::used]] volatile unsigned char seal[32] = {};

struct Library
{
    std::vector<QByteArrayView> sealed;
    bool isShared = false;
};

/// Finds every read-only segment but the first: an installer may rewrite the names that lie there. Only finds them,
/// because the loader holds its lock meanwhile.
int visit(dl_phdr_info *object, std::size_t, void *result)
{
    const std::span segments(object->dlpi_phdr, object->dlpi_phnum);
    const auto begin = [&](const auto &segment) { return object->dlpi_addr + segment.p_vaddr; };
    const auto own = reinterpret_cast<ElfW(Addr)>(&seal);
    const bool isOurs = std::any_of(segments.begin(), segments.end(), [&](const auto &segment) {
        return segment.p_type == PT_LOAD && own >= begin(segment) && own < begin(segment) + segment.p_memsz;
    });
    if (!isOurs)
        return 0;
    auto &library = *static_cast<Library *>(result);
    library.isShared = object->dlpi_name && *object->dlpi_name;
    for (const auto &segment : segments) {
        if (segment.p_type == PT_LOAD && (segment.p_flags & (PF_R | PF_W)) == PF_R && segment.p_offset != 0)
            library.sealed.emplace_back(reinterpret_cast<const char *>(begin(segment)),
                                        static_cast<qsizetype>(segment.p_filesz));
    }
    return 1;
}

} // namespace

bool LibrarySeal::isBroken()
{
    Library library;
    dl_iterate_phdr(visit, &library);
    if (!library.isShared)
        return false;
    QCryptographicHash hash(QCryptographicHash::Sha256);
    for (const QByteArrayView segment : library.sealed)
        hash.addData(segment);
    const QByteArray actual = hash.result();
    return !std::equal(actual.begin(), actual.end(), std::begin(seal), std::end(seal),
                       [](char now, unsigned char built) { return static_cast<unsigned char>(now) == built; });
}

} // namespace kelpay

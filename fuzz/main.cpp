// kelpay-fuzz TARGET [what libFuzzer takes]

#include "Fuzz.h"

#include "platform/Log.h"

#include <array>
#include <cstdint>
#include <string_view>

namespace kelpay::fuzz {

namespace {

struct Target
{
    std::string_view name;
    void (*run)(const QByteArray &input);
};
constexpr std::array<Target, 9> targets{{{"answers", answers},
                                         {"archives", archives},
                                         {"card-rules", cardRules},
                                         {"encodings", encodings},
                                         {"envelope", envelope},
                                         {"numbers", numbers},
                                         {"pkcs12", pkcs12},
                                         {"saved-cards", savedCards},
                                         {"state-files", stateFiles}}};
const Target *chosen = nullptr;

} // namespace

QByteArray patched(QByteArray base, QByteArrayView patches)
{
    while (patches.size() >= 3) {
        const auto byte = [&](qsizetype at) { return static_cast<std::uint8_t>(patches[at]); };
        const qsizetype place = (byte(0) << 8 | byte(1)) % base.size();
        const qsizetype length = std::min<qsizetype>({byte(2), patches.size() - 3, base.size() - place});
        base.replace(place, length, patches.sliced(3, length).toByteArray());
        patches = patches.sliced(3 + length);
    }
    return base;
}

} // namespace kelpay::fuzz

using namespace kelpay::fuzz;

/// The fuzzer's own: the first argument is taken off.
extern "C" int LLVMFuzzerInitialize(int *count, char ***arguments)
{
    for (const Target &target : targets) {
        if (*count > 1 && target.name == (*arguments)[1])
            chosen = &target;
    }
    if (!chosen) {
        for (const Target &target : targets)
            std::puts(target.name.data());
        std::exit(*count > 1 ? 2 : 0);
    }
    (*arguments)[1] = (*arguments)[0];
    ++*arguments;
    --*count;
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    kelpay::setProgrammingErrorHandler([](const QString &) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    chosen->run(QByteArray(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size)));
    return 0;
}

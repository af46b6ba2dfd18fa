#include "security/toolbox/Md2.h"

#include <algorithm>

namespace kelpay {

namespace {

// A permutation of the bytes, made from the digits of pi.
constexpr std::array<std::uint8_t, 256> piSubstitution{
    41,  46,  67,  201, 162, 216, 124, 1,   61,  54,  84,  161, 236, 240, 6,   19,  98,  167, 5,   243, 192, 199,
    115, 140, 152, 147, 43,  217, 188, 76,  130, 202, 30,  155, 87,  60,  253, 212, 224, 22,  103, 66,  111, 24,
    138, 23,  229, 18,  190, 78,  196, 214, 218, 158, 222, 73,  160, 251, 245, 142, 187, 47,  238, 122, 169, 104,
    121, 145, 21,  178, 7,   63,  148, 194, 16,  137, 11,  34,  95,  33,  128, 127, 93,  154, 90,  144, 50,  39,
    53,  62,  204, 231, 191, 247, 151, 3,   255, 25,  48,  179, 72,  165, 181, 209, 215, 94,  146, 42,  172, 86,
    170, 198, 79,  184, 56,  210, 150, 164, 125, 182, 118, 252, 107, 226, 156, 116, 4,   241, 69,  157, 112, 89,
    100, 113, 135, 32,  134, 91,  207, 101, 230, 45,  168, 2,   27,  96,  37,  173, 174, 176, 185, 246, 28,  70,
    97,  105, 52,  64,  126, 15,  85,  71,  163, 35,  221, 81,  175, 58,  195, 92,  249, 206, 186, 197, 234, 38,
    44,  83,  13,  110, 133, 40,  132, 9,   211, 223, 205, 244, 65,  129, 77,  82,  106, 220, 55,  200, 108, 193,
    171, 250, 36,  225, 123, 8,   12,  189, 177, 74,  120, 136, 149, 139, 227, 99,  232, 109, 233, 203, 213, 254,
    59,  0,   29,  57,  242, 239, 183, 14,  102, 88,  208, 228, 166, 119, 114, 248, 235, 117, 75,  10,  49,  68,
    80,  180, 143, 237, 31,  26,  219, 153, 141, 51,  159, 17,  131, 20,
};

} // namespace

Md2::~Md2()
{
    wipe(m_state.data(), m_state.size());
    wipe(m_pending.data(), m_pending.size());
}

void Md2::process(const Block &block)
{
    constexpr unsigned rounds = 18;
    std::uint8_t last = m_checksum.back();
    for (std::size_t i = 0; i < blockSize; ++i) {
        last = m_checksum[i] ^= piSubstitution[block[i] ^ last];
        m_state[blockSize + i] = block[i];
        m_state[2 * blockSize + i] = m_state[i] ^ block[i];
    }
    std::uint8_t carry = 0;
    for (unsigned round = 0; round < rounds; ++round) {
        for (auto &byte : m_state)
            carry = byte ^= piSubstitution[carry];
        carry = static_cast<std::uint8_t>(carry + round);
    }
}

void Md2::update(std::span<const std::uint8_t> bytes)
{
    for (const auto byte : bytes) {
        m_pending[m_pendingSize++] = byte;
        if (m_pendingSize == blockSize) {
            process(m_pending);
            m_pendingSize = 0;
        }
    }
}

Bytes Md2::finish()
{
    const auto padding = blockSize - m_pendingSize;
    std::fill(m_pending.begin() + static_cast<std::ptrdiff_t>(m_pendingSize), m_pending.end(),
              static_cast<std::uint8_t>(padding));
    process(m_pending);
    process(Block(m_checksum));
    return {m_state.data(), blockSize};
}

} // namespace kelpay

#pragma once

#include "platform/Bytes.h"

#include <array>
#include <cstdint>
#include <span>

namespace kelpay {

/// MD2 (RFC 1319), which OpenSSL no longer has. Feed it piece by piece, then finish once.
class Md2
{
public:
    static constexpr std::size_t blockSize = 16;

    Md2() = default;
    Md2(const Md2 &) = delete;
    Md2 &operator=(const Md2 &) = delete;
    ~Md2();

    void update(std::span<const std::uint8_t> bytes);
    /// The 16 bytes of the digest.
    Bytes finish();

private:
    using Block = std::array<std::uint8_t, blockSize>;
    void process(const Block &block);

    std::array<std::uint8_t, 3 * blockSize> m_state{};
    Block m_checksum{};
    Block m_pending{};
    std::size_t m_pendingSize = 0;
};

} // namespace kelpay

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

namespace kelpay {

/// The few ASCII digits of a PIN or a CVV2 while they are typed, in secretStorage(). Never copied; what is
/// taken out is wiped at once. One thread at a time.
class SecretBuffer
{
public:
    static constexpr std::size_t capacity = 16;

    SecretBuffer();
    SecretBuffer(const SecretBuffer &) = delete;
    SecretBuffer &operator=(const SecretBuffer &) = delete;
    ~SecretBuffer() = default;

    std::size_t size() const noexcept { return m_size; }
    bool empty() const noexcept { return m_size == 0; }
    /// Valid until the next change.
    std::string_view view() const noexcept { return {begin(), m_size}; }

    /// Puts `digit` before the one at `position`. False, and nothing changed, where there is no room.
    bool insert(std::size_t position, char digit) noexcept;
    /// Takes out what there is of `length` digits from `position` on.
    void remove(std::size_t position, std::size_t length) noexcept;
    void clear() noexcept { remove(0, m_size); }

private:
    char *begin() const noexcept { return reinterpret_cast<char *>(m_storage.get()); }

    const std::shared_ptr<std::uint8_t> m_storage;
    std::size_t m_size = 0;
};

} // namespace kelpay

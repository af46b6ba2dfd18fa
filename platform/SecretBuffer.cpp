#include "SecretBuffer.h"

#include "Bytes.h"

#include <algorithm>

namespace kelpay {

SecretBuffer::SecretBuffer() : m_storage(secretStorage(capacity)) {}

bool SecretBuffer::insert(std::size_t position, char digit) noexcept
{
    if (m_size == capacity || position > m_size)
        return false;
    std::copy_backward(begin() + position, begin() + m_size, begin() + m_size + 1);
    begin()[position] = digit;
    ++m_size;
    return true;
}

void SecretBuffer::remove(std::size_t position, std::size_t length) noexcept
{
    const std::size_t from = std::min(position, m_size);
    const std::size_t left = m_size - std::min(length, m_size - from);
    std::copy(begin() + from + (m_size - left), begin() + m_size, begin() + from);
    wipe(begin() + left, m_size - left);
    m_size = left;
}

} // namespace kelpay

#include "Bytes.h"

#include "Log.h"
#include "SecretPages.h"

#include <QByteArray>
#include <QString>
#include <QStringDecoder>
#include <QStringEncoder>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <new>

namespace kelpay {

namespace {

/// Wipes what it takes back.
template <typename T> struct Wiping
{
    using value_type = T;
    Wiping() = default;
    template <typename Other> Wiping(const Wiping<Other> & /*other*/) {} // NOLINT(google-explicit-constructor)

    T *allocate(std::size_t count) { return std::allocator<T>().allocate(count); }
    void deallocate(T *memory, std::size_t count)
    {
        wipe(memory, count * sizeof(T));
        std::allocator<T>().deallocate(memory, count);
    }
    friend bool operator==(const Wiping & /*a*/, const Wiping & /*b*/) { return true; }
};

/// Bytes as any allocation aligns them, which long encodings notice.
struct alignas(std::max_align_t) Unit
{
    std::array<std::uint8_t, alignof(std::max_align_t)> bytes;
};

/// Together with its count of holders: one allocation, where a request makes dozens.
std::shared_ptr<std::uint8_t> wipedStorage(std::size_t capacity)
{
    const std::size_t count = (capacity + sizeof(Unit) - 1) / sizeof(Unit);
    const auto units = std::allocate_shared_for_overwrite<Unit[]>(Wiping<Unit>(), count);
    return {units, units[0].bytes.data()};
}

} // namespace

std::shared_ptr<std::uint8_t> secretStorage(std::size_t capacity)
{
    if (void *pages = SecretPages::take(capacity))
        return {static_cast<std::uint8_t *>(pages), [capacity](std::uint8_t *p) { SecretPages::release(p, capacity); }};
    [[maybe_unused]] static const bool isLogged = [] {
        qCWarning(logSecurity, "there are no pages for what is typed; it is wiped, but can be swapped out and dumped");
        return true;
    }();
    return wipedStorage(capacity);
}

void wipe(void *data, std::size_t size) noexcept
{
    if (size == 0)
        return;
    std::memset(data, 0, size);
    // The empty statement claims to read the memory, so the memset above must have happened.
    asm volatile("" : : "r"(data) : "memory");
}

Bytes::Bytes(const void *data, std::size_t size) : m_size(size)
{
    if (size == 0)
        return;
    m_storage = wipedStorage(size);
    std::memcpy(m_storage.get(), data, size);
}

Bytes Bytes::fromByteArray(const QByteArray &array)
{
    return {array.constData(), static_cast<std::size_t>(array.size())};
}

Bytes Bytes::fromText(const QString &text)
{
    QStringEncoder utf8(QStringEncoder::Utf8);
    BytesBuilder builder;
    auto *begin = reinterpret_cast<char *>(builder.extend(static_cast<std::size_t>(utf8.requiredSpace(text.size()))));
    builder.truncate(static_cast<std::size_t>(utf8.appendToBuffer(begin, text) - begin));
    return builder.take();
}

QByteArray Bytes::toByteArray() const
{
    return {reinterpret_cast<const char *>(data()), static_cast<qsizetype>(m_size)};
}

QString Bytes::toText() const
{
    // QString::fromUtf8 would drop a byte order mark at the start.
    QStringDecoder utf8(QStringDecoder::Utf8,
                        QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom);
    return utf8(QByteArrayView(data(), static_cast<qsizetype>(m_size)));
}

BytesBuilder::BytesBuilder(std::size_t capacity, Storage storage) : m_kind(storage)
{
    if (capacity > 0)
        reserve(capacity);
}

void BytesBuilder::reserve(std::size_t capacity)
{
    auto grown = m_kind == Storage::Heap ? wipedStorage(capacity) : secretStorage(capacity);
    if (m_size > 0)
        std::memcpy(grown.get(), m_storage.get(), m_size);
    m_storage = std::move(grown);
    m_capacity = capacity;
}

void BytesBuilder::append(const void *data, std::size_t size)
{
    if (size > 0)
        std::memcpy(extend(size), data, size);
}

std::uint8_t *BytesBuilder::extend(std::size_t size)
{
    if (m_size + size > m_capacity)
        reserve(std::max({m_size + size, 2 * m_capacity, std::size_t{64}}));
    auto *end = m_storage.get() + m_size;
    m_size += size;
    return end;
}

void BytesBuilder::truncate(std::size_t size) noexcept
{
    m_size = std::min(m_size, size);
}

Bytes BytesBuilder::take() noexcept
{
    Bytes bytes;
    bytes.m_storage = std::move(m_storage);
    bytes.m_size = m_size;
    m_size = 0;
    m_capacity = 0;
    return bytes;
}

} // namespace kelpay

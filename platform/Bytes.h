#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

class QByteArray;
class QString;

namespace kelpay {

/// Overwrites `size` bytes at `data` in a way that the optimiser may not remove.
void wipe(void *data, std::size_t size) noexcept;

/// An immutable sequence of bytes. Copies share one storage, which is wiped when the last holder lets go.
/// A failed operation gives std::nullopt, never an empty Bytes. Safe to read from any thread.
class Bytes
{
public:
    Bytes() noexcept = default;
    Bytes(const void *data, std::size_t size);
    explicit Bytes(std::span<const std::uint8_t> bytes) : Bytes(bytes.data(), bytes.size()) {}
    explicit Bytes(std::string_view text) : Bytes(text.data(), text.size()) {}

    /// A copy of the array's bytes; the array itself is not wiped.
    static Bytes fromByteArray(const QByteArray &array);
    /// The UTF-8 form of the text, written without an intermediate copy.
    static Bytes fromText(const QString &text);

    const std::uint8_t *data() const noexcept { return m_storage ? m_storage.get() : nullptr; }
    std::size_t size() const noexcept { return m_size; }
    bool empty() const noexcept { return m_size == 0; }
    std::span<const std::uint8_t> span() const noexcept { return {data(), m_size}; }
    std::string_view view() const noexcept { return {reinterpret_cast<const char *>(data()), m_size}; }

    /// Copies that leave the wiped storage; only for bytes that are no secret.
    QByteArray toByteArray() const;
    /// The inverse of fromText, a U+FEFF at the start included. Never a null QString.
    QString toText() const;

    friend bool operator==(const Bytes &a, const Bytes &b) noexcept { return a.view() == b.view(); }

private:
    friend class BytesBuilder;
    std::shared_ptr<std::uint8_t> m_storage;
    std::size_t m_size = 0;
};

/// Memory for what the payer typed, wiped with its last owner: SecretPages, or where there are none any memory and a
/// log line. What it holds at first is anything.
std::shared_ptr<std::uint8_t> secretStorage(std::size_t capacity);

/// Where a builder keeps what it is given.
enum class Storage {
    Heap,
    SecretPages, ///< For what the payer typed; a page at least.
};

/// Writes a Bytes piece by piece. Storage that is outgrown or abandoned is wiped. One thread at a time.
class BytesBuilder
{
public:
    /// Room for `capacity` bytes; an exact guess means no reallocation.
    explicit BytesBuilder(std::size_t capacity = 0, Storage storage = Storage::Heap);
    BytesBuilder(const BytesBuilder &) = delete;
    BytesBuilder &operator=(const BytesBuilder &) = delete;
    ~BytesBuilder() = default;

    void append(std::string_view text) { append(text.data(), text.size()); }
    void append(const Bytes &bytes) { append(bytes.data(), bytes.size()); }
    void append(const void *data, std::size_t size);
    void append(char c) { append(&c, 1); }

    /// `size` fresh bytes at the end, to be filled by the caller; valid until the next call.
    std::uint8_t *extend(std::size_t size);
    /// Cuts the content to `size` bytes; what was cut is wiped with the storage.
    void truncate(std::size_t size) noexcept;
    std::size_t size() const noexcept { return m_size; }

    /// The content so far; the builder is empty afterwards.
    Bytes take() noexcept;

private:
    void reserve(std::size_t capacity);

    const Storage m_kind;
    std::shared_ptr<std::uint8_t> m_storage;
    std::size_t m_size = 0;
    std::size_t m_capacity = 0;
};

} // namespace kelpay

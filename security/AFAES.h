#pragma once

#include "platform/Bytes.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>

namespace kelpay {

/// AES in CBC mode under one key and one initialisation vector for the whole process, random from the start.
/// Overlapping callers overwrite each other's key and vector; each read of one gives a whole value.
class AFAES
{
public:
    static AFAES &sharedAFAES();
    AFAES(const AFAES &) = delete;
    AFAES &operator=(const AFAES &) = delete;

    std::optional<Bytes> key() const;
    std::optional<Bytes> iv() const;

    /// Keeps `key` and `iv` (16 zeros for none) as the instance's own, then runs the cipher with padding.
    std::optional<Bytes> doCipher(const std::optional<Bytes> &data, const std::optional<Bytes> &key,
                                  const std::optional<Bytes> &iv, unsigned operation);
    /// Runs the block cipher under the instance's key and vector.
    std::optional<Bytes> doCipher(const std::optional<Bytes> &data, unsigned operation,
                                  bool isPKCS7Padding = true) const;

    /// Encrypts; a key of another size is replaced by a random one of this size first.
    std::optional<Bytes> AES128Encrypt(const std::optional<Bytes> &data);
    std::optional<Bytes> AES192Encrypt(const std::optional<Bytes> &data);
    std::optional<Bytes> AES256Encrypt(const std::optional<Bytes> &data);
    /// Decrypts under the current key, whatever its size.
    std::optional<Bytes> AES128Decrypt(const std::optional<Bytes> &data) const;
    std::optional<Bytes> AES192Decrypt(const std::optional<Bytes> &data) const;
    std::optional<Bytes> AES256Decrypt(const std::optional<Bytes> &data) const;

    void updateKeyWithKeySize(std::uint32_t keySize);
    void updateIV();

private:
    AFAES();
    std::optional<Bytes> encryptWithKeySize(const std::optional<Bytes> &data, std::uint32_t keySize);

    // Null for no value.
    std::atomic<std::shared_ptr<const Bytes>> m_key;
    std::atomic<std::shared_ptr<const Bytes>> m_iv;
};

} // namespace kelpay

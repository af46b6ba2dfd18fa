#pragma once

#include "platform/Bytes.h"
#include "security/KeyRef.h"

#include <QString>

#include <atomic>
#include <cstdint>
#include <ctime>
#include <memory>
#include <mutex>
#include <optional>

namespace kelpay {

/// RSA with one pair of keys for the whole process. Starts with a fresh 1024-bit pair, made when it is first looked at.
/// Overlapping callers replace each other's keys; each read of one gives a whole key.
class AFRSA
{
public:
    // Padding codes for signing and verifying.
    static constexpr std::uint32_t PaddingPKCS1 = 1;
    static constexpr std::uint32_t PaddingPKCS1SHA1 = 0x8002;
    static constexpr std::uint32_t PaddingPKCS1SHA224 = 0x8003;
    static constexpr std::uint32_t PaddingPKCS1SHA256 = 0x8004;
    static constexpr std::uint32_t PaddingPKCS1SHA384 = 0x8005;
    static constexpr std::uint32_t PaddingPKCS1SHA512 = 0x8006;

    static AFRSA &sharedAFRSA();
    AFRSA(const AFRSA &) = delete;
    AFRSA &operator=(const AFRSA &) = delete;

    std::optional<KeyRef> publicKey() const;
    std::optional<KeyRef> privateKey() const;
    std::uint32_t padding() const { return m_padding; }
    void setPadding(std::uint32_t padding) { m_padding = padding; }

    /// Replaces both keys by a fresh pair of 1024 to 4096 bits; false leaves them as they are.
    bool generateKeys(unsigned bits = 1024);
    /// Replaces both keys by those of a PKCS#12 file: the identity's private key and the public key of its certificate.
    /// False leaves both null: an unreadable file, a wrong password, no identity in it, or a certificate chain that is
    /// not valid now with its own certificates as anchors. The file is read each time; what it held is remembered until
    /// its content, the password or the validity of a certificate changes.
    bool keysFromPersonalInformationExchangeFile(const QString &path, const QString &password);
    bool keysFromData(const Bytes &pkcs12, const QString &password);
    std::optional<KeyRef> publicKeyFromDERData(const Bytes &certificate) const;

    std::optional<Bytes> encryptDataWithPublicKey(const Bytes &data) const;
    std::optional<Bytes> decryptDataWithPrivateKey(const Bytes &data) const;
    /// PKCS#1 v1.5 in chunks of the key's block size (less 11 for encryption, `operation` 0). What one chunk gives
    /// bounds what the next may give. std::nullopt for no key, no data, an operation above 1 or a chunk that fails.
    std::optional<Bytes> doCipherWithData(const Bytes &data, const std::optional<KeyRef> &key,
                                          unsigned operation) const;

    /// By the padding code: over a digest of the data, or, with `PaddingPKCS1` and any code that is none of the above,
    /// over no bytes at all. Such a signature says nothing of the data.
    std::optional<Bytes> signDataWithPrivateKey(const Bytes &data) const;
    bool verifyDataWithPublicKey(const Bytes &data, const Bytes &signature) const;

private:
    struct Imported;
    using Key = std::shared_ptr<const KeyRef::Shared>;

    AFRSA() = default;
    static std::shared_ptr<const Imported> imported(const Bytes &pkcs12, const Bytes &password, const QString &text,
                                                    std::time_t now);
    void makeFirstPair() const;
    void forgoFirstPair() const;
    void setKeys(Key publicKey, Key privateKey) const;

    mutable std::mutex m_mutex;
    mutable bool m_hadFirst = false;
    mutable std::atomic<Key> m_publicKey;
    mutable std::atomic<Key> m_privateKey;
    std::atomic<std::shared_ptr<const Imported>> m_imported;
    std::atomic<std::uint32_t> m_padding{PaddingPKCS1SHA1};
};

} // namespace kelpay

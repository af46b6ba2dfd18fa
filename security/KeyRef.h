#pragma once

#include "platform/Bytes.h"

#include <cstddef>
#include <memory>
#include <optional>

// OpenSSL's key, known by name only.
struct evp_pkey_st;

namespace kelpay {

struct KeyPair;
struct CertificateReading;

/// A reference to a public or a private key. Copies share the key, which is wiped when the last one lets go. Operations
/// that need the private half fail on a public key, and all of them where memory runs out. Any thread.
class KeyRef
{
public:
    enum class Half { Public, Private };

    /// The key and what is prepared for its use; opaque.
    struct Shared;

    /// What PKCS#1 v1.5 padding adds to a block at least.
    static constexpr std::size_t paddingSize = 11;

    /// Takes over `key`, which is not null.
    explicit KeyRef(evp_pkey_st *key);
    explicit KeyRef(std::shared_ptr<const Shared> shared) : m_shared(std::move(shared)) {}

    /// A fresh RSA pair of `bits` bits, from 1024 to 4096.
    static std::optional<KeyPair> generateRSA(unsigned bits);
    /// The public key of a certificate in DER form; a certificate may hold one that can't be used.
    static CertificateReading readCertificate(const Bytes &der);
    /// An RSA key in PKCS#1 DER form.
    static std::optional<KeyRef> fromPKCS1(const Bytes &der, Half half);
    std::optional<Bytes> toPKCS1(Half half) const;

    /// The size in bytes of what one RSA operation takes and gives.
    std::size_t blockSize() const;
    /// One RSA operation with PKCS#1 v1.5 padding. Decryption of a block with bad padding gives std::nullopt, or with
    /// newer OpenSSL random bytes of some length.
    std::optional<Bytes> encrypt(const Bytes &data) const;
    std::optional<Bytes> decrypt(const Bytes &block) const;

    /// OpenSSL's key, which this reference keeps alive.
    evp_pkey_st *get() const;
    const std::shared_ptr<const Shared> &shared() const { return m_shared; }

private:
    std::shared_ptr<const Shared> m_shared;
};

struct KeyPair
{
    KeyRef publicKey;
    KeyRef privateKey;
};

struct CertificateReading
{
    bool isCertificate;
    std::optional<KeyRef> publicKey;
};

} // namespace kelpay

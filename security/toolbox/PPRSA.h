#pragma once

#include "platform/Bytes.h"
#include "security/KeyRef.h"
#include "security/SecStatus.h"

#include <QString>

#include <optional>

namespace kelpay {

/// The domain of every Error of PPRSA; their code is always 0.
extern const QString PPRSAErrorDomain;

/// RSA with at most one key of each kind. A failed operation gives false or std::nullopt, and fills `error` where one
/// is given. One thread at a time.
class PPRSA
{
public:
    /// Loads the public key of the host's resource `name`.cer, a DER certificate.
    bool loadPublicKeyFromBundledCertificate(const QString &name, Error *error = nullptr);
    /// Loads the private key of the host's resource `name`.p12.
    bool loadPrivateKeyFromBundledP12(const QString &name, const QString &password, Error *error = nullptr);
    bool loadPrivateKeyFromP12Data(const Bytes &data, const QString &password, Error *error = nullptr);

    std::optional<KeyRef> publicKeyFromData(const Bytes &certificate, Error *error = nullptr) const;
    std::optional<KeyRef> privateKeyFromData(const Bytes &pkcs12, const QString &password,
                                             Error *error = nullptr) const;

    const std::optional<KeyRef> &publicKey() const { return m_publicKey; }
    const std::optional<KeyRef> &privateKey() const { return m_privateKey; }
    bool hasPublicKey() const { return m_publicKey.has_value(); }
    bool hasPrivateKey() const { return m_privateKey.has_value(); }

    /// One block: at most 11 bytes less than the key has.
    std::optional<Bytes> encryptData(const Bytes &data, Error *error = nullptr) const;
    /// The whole block: the plain text, followed by zeros up to the key's size.
    std::optional<Bytes> decryptData(const Bytes &data, Error *error = nullptr) const;

    /// `length` characters of a 74-character alphabet; "" when the random source fails or memory runs out.
    static QString randomStringOfLength(std::size_t length);
    static QString errorMessageForCode(int status, const QString &message);

private:
    std::optional<KeyRef> m_publicKey;
    std::optional<KeyRef> m_privateKey;
};

} // namespace kelpay

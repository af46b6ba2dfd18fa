#pragma once

#include "OpenSsl.h"

#include <QByteArray>
#include <QString>

#include <memory>
#include <optional>

namespace kelpay::sandbox {

using namespace Qt::StringLiterals;

/// How the client's PKCS#12 file is protected: as desktop keychains export it (RC2-40 certificates, Triple DES key,
/// SHA-1 MAC), or with AES-256, PBKDF2 and SHA-256.
enum class PfxFormat { Legacy, Modern };

/// The folder that holds both ends' keys and certificates.
class Identity
{
public:
    static inline const QString clientPfx = u"IOSNewCert.pfx"_s;
    static inline const QString envelopeKeyFile = u"envelope.key"_s;
    static inline const QString tlsCertificateFile = u"tls.crt"_s;
    static inline const QString tlsKeyFile = u"tls.key"_s;
    static inline const QString anchorsFile = u"service-anchors.pem"_s;
    static constexpr const char *pfxPassword = "qwpLumaXYT@#781";

    /// The identity in `folder` when it is whole: every file there, keys and certificates belong together, and none
    /// expires within a month. Otherwise std::nullopt, and `problem` says what is wrong.
    static std::optional<Identity> load(const QString &folder, QString &problem);

    /// Opens envelopes: the key whose public half the client's certificate carries.
    EVP_PKEY *envelopeKey() const { return m_envelopeKey.get(); }
    X509 *tlsCertificate() const { return m_tlsCertificate.get(); }
    EVP_PKEY *tlsKey() const { return m_tlsKey.get(); }
    /// What fingerprints in the journal are made with: the bytes of the envelope key's file.
    QByteArray journalKey() const { return m_journalKey; }
    PfxFormat pfxFormat() const { return m_pfxFormat; }

private:
    bool loadClient(const QString &folder, QString &problem);
    bool loadService(const QString &folder, QString &problem);

    std::shared_ptr<EVP_PKEY> m_envelopeKey;
    QByteArray m_journalKey;
    std::shared_ptr<X509> m_tlsCertificate;
    std::shared_ptr<EVP_PKEY> m_tlsKey;
    PfxFormat m_pfxFormat = PfxFormat::Legacy;
};

} // namespace kelpay::sandbox

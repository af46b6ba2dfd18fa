#include "Identity.h"

#include <QFile>

namespace kelpay::sandbox {

using namespace Qt::StringLiterals;

namespace {

constexpr int monthInDays = 30;

bool expiresSoon(const X509 *certificate)
{
    int days = 0;
    int seconds = 0;
    return ASN1_TIME_diff(&days, &seconds, nullptr, X509_get0_notAfter(certificate)) != 1 || days < monthInDays;
}

bool isSignedByAnchor(X509 *certificate, X509 *anchor)
{
    const CertificateStoreHandle store(X509_STORE_new());
    const CertificateStoreContextHandle context(X509_STORE_CTX_new());
    return store && context && X509_STORE_add_cert(store.get(), anchor) == 1 &&
           X509_STORE_CTX_init(context.get(), store.get(), certificate, nullptr) == 1 &&
           X509_verify_cert(context.get()) == 1;
}

Pkcs12Handle readPfx(const QString &path)
{
    const BioHandle file(BIO_new_file(QFile::encodeName(path).constData(), "rb"));
    PKCS12 *pfx = PKCS12_init_ex(NID_pkcs7_data, libraryWithLegacy(), nullptr);
    if (file && d2i_PKCS12_bio(file.get(), &pfx))
        return Pkcs12Handle(pfx);
    PKCS12_free(pfx);
    return {};
}

PfxFormat formatOf(const PKCS12 *pfx)
{
    STACK_OF(PKCS7) *parts = PKCS12_unpack_authsafes(pfx);
    PfxFormat format = PfxFormat::Modern;
    for (int i = 0; i < sk_PKCS7_num(parts); ++i) {
        const PKCS7 *part = sk_PKCS7_value(parts, i);
        if (PKCS7_type_is_encrypted(part) &&
            OBJ_obj2nid(part->d.encrypted->enc_data->algorithm->algorithm) == NID_pbe_WithSHA1And40BitRC2_CBC)
            format = PfxFormat::Legacy;
    }
    sk_PKCS7_pop_free(parts, PKCS7_free);
    return format;
}

} // namespace

std::optional<Identity> Identity::load(const QString &folder, QString &problem)
{
    Identity identity;
    if (!identity.loadClient(folder, problem) || !identity.loadService(folder, problem)) {
        ERR_clear_error();
        return std::nullopt;
    }
    return identity;
}

bool Identity::loadClient(const QString &folder, QString &problem)
{
    m_envelopeKey = readPrivateKey(folder + u'/' + envelopeKeyFile);
    if (QFile file(folder + u'/' + envelopeKeyFile); file.open(QIODevice::ReadOnly))
        m_journalKey = file.readAll();
    const Pkcs12Handle pfx = readPfx(folder + u'/' + clientPfx);
    if (!m_envelopeKey || !pfx) {
        problem = u"%1 or %2 is missing or unreadable"_s.arg(clientPfx, envelopeKeyFile);
        return false;
    }
    EVP_PKEY *rawKey = nullptr;
    X509 *rawCertificate = nullptr;
    const int parsed = PKCS12_parse(pfx.get(), pfxPassword, &rawKey, &rawCertificate, nullptr);
    const KeyHandle key(rawKey);
    const CertificateHandle certificate(rawCertificate);
    if (parsed != 1 || !key || !certificate || EVP_PKEY_eq(key.get(), m_envelopeKey.get()) != 1) {
        problem = u"%1 does not open, or does not belong to %2"_s.arg(clientPfx, envelopeKeyFile);
        return false;
    }
    if (expiresSoon(certificate.get())) {
        problem = u"the certificate in %1 has expired or soon will"_s.arg(clientPfx);
        return false;
    }
    m_pfxFormat = formatOf(pfx.get());
    return true;
}

bool Identity::loadService(const QString &folder, QString &problem)
{
    m_tlsCertificate = readCertificate(folder + u'/' + tlsCertificateFile);
    m_tlsKey = readPrivateKey(folder + u'/' + tlsKeyFile);
    const CertificateHandle anchor = readCertificate(folder + u'/' + anchorsFile);
    if (!m_tlsCertificate || !m_tlsKey || !anchor) {
        problem = u"%1, %2 or %3 is missing or unreadable"_s.arg(tlsCertificateFile, tlsKeyFile, anchorsFile);
        return false;
    }
    if (X509_check_private_key(m_tlsCertificate.get(), m_tlsKey.get()) != 1 ||
        !isSignedByAnchor(m_tlsCertificate.get(), anchor.get()) || expiresSoon(m_tlsCertificate.get())) {
        problem = u"%1 has expired, or does not belong to %2 and %3"_s.arg(tlsCertificateFile, tlsKeyFile, anchorsFile);
        return false;
    }
    return true;
}

} // namespace kelpay::sandbox

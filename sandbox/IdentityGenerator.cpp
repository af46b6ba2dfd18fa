#include "IdentityGenerator.h"

#include "platform/Files.h"

#include <QFile>

#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509v3.h>

#include <cerrno>
#include <cstring>
#include <utility>
#include <vector>

namespace kelpay::sandbox {

using namespace Qt::StringLiterals;

namespace {

constexpr long validDays = 5L * 365;
constexpr long secondsADay = 24L * 60 * 60;

using Extensions = std::vector<std::pair<int, std::string>>;

struct Signed
{
    KeyHandle key;
    CertificateHandle certificate;
};

const Extensions &authorityExtensions()
{
    static const Extensions extensions = {{NID_basic_constraints, "critical,CA:TRUE"},
                                          {NID_key_usage, "critical,keyCertSign,cRLSign"},
                                          {NID_subject_key_identifier, "hash"}};
    return extensions;
}

Extensions leafExtensions(const char *keyUsage, const char *extendedKeyUsage)
{
    return {{NID_basic_constraints, "critical,CA:FALSE"},
            {NID_key_usage, keyUsage},
            {NID_ext_key_usage, extendedKeyUsage},
            {NID_subject_key_identifier, "hash"},
            {NID_authority_key_identifier, "keyid"}};
}

/// localhost and the addresses on which several services can listen at once.
std::string serviceNames()
{
    std::string names = "DNS:localhost,IP:::1";
    for (int last = 1; last <= 20; ++last)
        names += ",IP:127.0.0." + std::to_string(last);
    return names;
}

bool setRandomSerial(X509 *certificate)
{
    std::uint64_t serial = 0;
    return RAND_bytes(reinterpret_cast<unsigned char *>(&serial), sizeof serial) == 1 &&
           ASN1_INTEGER_set_uint64(X509_get_serialNumber(certificate), (serial >> 1) | 1) == 1;
}

bool addExtensions(X509 *certificate, X509 *issuer, const Extensions &extensions)
{
    X509V3_CTX context;
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    for (const auto &[nid, value] : extensions) {
        const ExtensionHandle extension(X509V3_EXT_conf_nid(nullptr, &context, nid, value.c_str()));
        if (!extension || X509_add_ext(certificate, extension.get(), -1) != 1)
            return false;
    }
    return true;
}

/// A certificate for `key`, signed by `issuer` or, without one, by itself. Null members where OpenSSL refuses.
Signed certify(KeyHandle key, const char *name, const Extensions &extensions, const Signed *issuer = nullptr)
{
    CertificateHandle certificate(X509_new());
    if (!key || !certificate)
        return {};
    X509 *raw = certificate.get();
    X509_NAME *subject = X509_get_subject_name(raw);
    const bool filled =
        X509_set_version(raw, X509_VERSION_3) == 1 && setRandomSerial(raw) &&
        X509_gmtime_adj(X509_getm_notBefore(raw), -secondsADay) &&
        X509_gmtime_adj(X509_getm_notAfter(raw), validDays * secondsADay) &&
        X509_NAME_add_entry_by_txt(subject, "CN", MBSTRING_UTF8, reinterpret_cast<const unsigned char *>(name), -1, -1,
                                   0) == 1 &&
        X509_set_issuer_name(raw, issuer ? X509_get_subject_name(issuer->certificate.get()) : subject) == 1 &&
        X509_set_pubkey(raw, key.get()) == 1 &&
        addExtensions(raw, issuer ? issuer->certificate.get() : raw, extensions);
    if (!filled || X509_sign(raw, issuer ? issuer->key.get() : key.get(), EVP_sha256()) == 0)
        return {};
    return {std::move(key), std::move(certificate)};
}

KeyHandle freshRsaKey()
{
    return KeyHandle(EVP_PKEY_Q_keygen(libraryWithLegacy(), nullptr, "RSA", std::size_t{2048}));
}

KeyHandle freshEcKey()
{
    return KeyHandle(EVP_PKEY_Q_keygen(libraryWithLegacy(), nullptr, "EC", "P-256"));
}

Pkcs12Handle packPfx(const Signed &leaf, X509 *root, PfxFormat format)
{
    const bool legacy = format == PfxFormat::Legacy;
    constexpr int iterations = 2048;
    constexpr int macLater = -1;
    STACK_OF(X509) *chain = sk_X509_new_null();
    sk_X509_push(chain, root);
    Pkcs12Handle pfx(PKCS12_create_ex(Identity::pfxPassword, "KelPay sandbox client", leaf.key.get(),
                                      leaf.certificate.get(), chain,
                                      legacy ? NID_pbe_WithSHA1And3_Key_TripleDES_CBC : NID_aes_256_cbc,
                                      legacy ? NID_pbe_WithSHA1And40BitRC2_CBC : NID_aes_256_cbc, iterations, macLater,
                                      0, libraryWithLegacy(), nullptr));
    sk_X509_free(chain);
    if (!pfx || PKCS12_set_mac(pfx.get(), Identity::pfxPassword, -1, nullptr, 0, iterations,
                               legacy ? EVP_sha1() : EVP_sha256()) != 1)
        return {};
    return pfx;
}

bool writeFile(const QString &path, BIO *content)
{
    const char *bytes = nullptr;
    const long size = BIO_get_mem_data(content, &bytes);
    QFile file(path);
    return Files::makePrivateFile(path) && file.open(QIODevice::WriteOnly | QIODevice::Truncate) &&
           file.write(bytes, size) == size && file.flush();
}

/// Writes one file; `encode` puts its content into a memory buffer and tells whether it could.
template <class Encode> bool writeEncoded(const QString &folder, const QString &name, Encode encode)
{
    const BioHandle content(BIO_new(BIO_s_mem()));
    return content && encode(content.get()) == 1 && writeFile(folder + u'/' + name, content.get());
}

bool writeKey(const QString &folder, const QString &name, EVP_PKEY *key)
{
    return writeEncoded(folder, name, [key](BIO *out) {
        return PEM_write_bio_PKCS8PrivateKey(out, key, nullptr, nullptr, 0, nullptr, nullptr);
    });
}

bool writeCertificate(const QString &folder, const QString &name, X509 *certificate)
{
    return writeEncoded(folder, name, [certificate](BIO *out) { return PEM_write_bio_X509(out, certificate); });
}

bool writeClient(const QString &folder, PfxFormat format)
{
    const Signed root = certify(freshRsaKey(), "KelPay sandbox client root", authorityExtensions());
    if (!root.certificate)
        return false;
    const Signed leaf = certify(freshRsaKey(), "KelPay sandbox client",
                                leafExtensions("critical,digitalSignature,keyEncipherment", "clientAuth"), &root);
    const Pkcs12Handle pfx = leaf.certificate ? packPfx(leaf, root.certificate.get(), format) : Pkcs12Handle();
    return pfx && writeEncoded(folder, Identity::clientPfx, [&](BIO *out) { return i2d_PKCS12_bio(out, pfx.get()); }) &&
           writeKey(folder, Identity::envelopeKeyFile, leaf.key.get());
}

bool writeService(const QString &folder)
{
    const Signed authority = certify(freshEcKey(), "KelPay sandbox service root", authorityExtensions());
    if (!authority.certificate)
        return false;
    Extensions extensions = leafExtensions("critical,digitalSignature", "serverAuth");
    extensions.emplace_back(NID_subject_alt_name, serviceNames());
    const Signed service = certify(freshEcKey(), "KelPay sandbox service", extensions, &authority);
    return service.certificate && writeCertificate(folder, Identity::tlsCertificateFile, service.certificate.get()) &&
           writeKey(folder, Identity::tlsKeyFile, service.key.get()) &&
           writeCertificate(folder, Identity::anchorsFile, authority.certificate.get());
}

} // namespace

std::optional<QString> makeIdentity(const QString &folder, PfxFormat format)
{
    QString problem;
    if (const auto existing = Identity::load(folder, problem); existing && existing->pfxFormat() == format)
        return std::nullopt;
    if (!Files::makePrivateFolder(folder))
        return u"the folder %1 can't be made private (%2): choose one that this user may write to"_s.arg(
            folder, QString::fromLocal8Bit(std::strerror(errno)));
    ERR_clear_error();
    errno = 0;
    if (writeClient(folder, format) && writeService(folder))
        return std::nullopt;
    return ERR_peek_error() != 0
               ? u"OpenSSL made no identity: %1"_s.arg(takeOpenSslError())
               : u"a file in %1 can't be written: check that the disk has room and that this user may "
                 "write there"_s.arg(folder);
}

} // namespace kelpay::sandbox

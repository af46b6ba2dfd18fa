// What the service for development is sent, and certificate files.

#include "Fuzz.h"

#include "sandbox/Envelope.h"
#include "sandbox/Masking.h"
#include "sandbox/OpenSsl.h"
#include "sandbox/PaymentDetail.h"
#include "sandbox/RequestCheck.h"
#include "security/Pkcs12Item.h"
#include "tests/security/TestIdentity.h"

#include <openssl/pkcs12.h>
#include <openssl/rsa.h>

namespace kelpay::fuzz {

using namespace Qt::StringLiterals;

namespace {

const QByteArray aesKey(32, 'k');
constexpr int keyBytes = 128;

EVP_PKEY *recipient()
{
    static EVP_PKEY *const key = EVP_RSA_gen(8 * keyBytes);
    return key;
}

QByteArray wrappedKey()
{
    const sandbox::KeyContextHandle context(EVP_PKEY_CTX_new(recipient(), nullptr));
    std::size_t size = keyBytes;
    QByteArray wrapped(keyBytes, '\0');
    EVP_PKEY_encrypt_init(context.get());
    EVP_PKEY_encrypt(context.get(), reinterpret_cast<unsigned char *>(wrapped.data()), &size,
                     reinterpret_cast<const unsigned char *>(aesKey.constData()), aesKey.size());
    return wrapped.toBase64();
}

/// What openEnvelope() is to open, with `json` in it.
QByteArray sealed(const QByteArray &json)
{
    static const QByteArray wrapped = wrappedKey();
    const sandbox::CipherContextHandle context(EVP_CIPHER_CTX_new());
    const QByteArray plain = QByteArray(16, '\0') + json;
    QByteArray cipher(plain.size() + 16, '\0');
    int written = 0;
    int tail = 0;
    auto *out = reinterpret_cast<unsigned char *>(cipher.data());
    EVP_EncryptInit_ex(context.get(), EVP_aes_256_cbc(), nullptr,
                       reinterpret_cast<const unsigned char *>(aesKey.constData()),
                       reinterpret_cast<const unsigned char *>(plain.constData()));
    EVP_EncryptUpdate(context.get(), out, &written, reinterpret_cast<const unsigned char *>(plain.constData()),
                      static_cast<int>(plain.size()));
    EVP_EncryptFinal_ex(context.get(), out + written, &tail);
    QByteArray text = cipher.first(written + tail).toBase64();
    for (qsizetype at = 76; at < text.size(); at += 78)
        text.insert(at, "\r\n");
    return '\'' + wrapped + '#' + text + "\n'";
}

Bytes encoded(PKCS12 *file)
{
    unsigned char *out = nullptr;
    const int size = i2d_PKCS12(file, &out);
    const Bytes bytes(out, static_cast<std::size_t>(std::max(size, 0)));
    OPENSSL_free(out);
    return bytes;
}

/// A file whose parts are not encrypted, patched, and with the right checksum.
Bytes patchedInside(const QByteArray &patches)
{
    static const auto base = [] {
        const sandbox::KeyHandle key(EVP_RSA_gen(1024));
        const sandbox::CertificateHandle certificate(X509_new());
        X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -3600);
        X509_gmtime_adj(X509_getm_notAfter(certificate.get()), 3600);
        X509_set_pubkey(certificate.get(), key.get());
        X509_sign(certificate.get(), key.get(), EVP_sha256());
        const sandbox::Pkcs12Handle file(
            PKCS12_create("x", "x", key.get(), certificate.get(), nullptr, -1, -1, 1, -1, 0));
        return encoded(file.get()).toByteArray();
    }();
    const QByteArray bytes = patched(base, patches);
    const auto *in = reinterpret_cast<const unsigned char *>(bytes.constData());
    const sandbox::Pkcs12Handle file(d2i_PKCS12(nullptr, &in, static_cast<long>(bytes.size())));
    if (!file || !PKCS12_set_mac(file.get(), "x", 1, nullptr, 0, 1, EVP_sha256()))
        return Bytes::fromByteArray(bytes);
    return encoded(file.get());
}

void import(const Bytes &file, const QString &password)
{
    const auto [status, item] = Pkcs12Item::import(file, password);
    if (!item)
        return;
    item->isTrusted(1'800'000'000);
    const auto period = item->unchangedAround(1'800'000'000);
    require(period.from <= 1'800'000'000 && period.until > 1'800'000'000, "a moment is in its own period");
    item->publicKey().encrypt(Bytes(std::string_view("a key")));
}

} // namespace

void envelope(const QByteArray &input)
{
    sandbox::EnvelopeReport report;
    sandbox::openEnvelope(input, recipient(), report);
    const auto opened = sandbox::openEnvelope(sealed(input), recipient(), report);
    require(opened && opened->json == input && opened->key == aesKey, "what was sealed opens");
    QString reason;
    sandbox::PaymentDetail::parse(QString::fromUtf8(input), reason);
    const auto request = sandbox::parseRequest(input, reason);
    if (!request)
        return;
    sandbox::requestViolation(*request);
    sandbox::maskRequest(*request);
    sandbox::fingerprint(*request, aesKey);
}

/// The first byte says whether the rest is a file, or patches for one.
void pkcs12(const QByteArray &input)
{
    static const QByteArray whole = test::makeIdentity({.bits = 1024}).toByteArray();
    const QByteArray rest = input.mid(1);
    if (input.startsWith('r'))
        import(Bytes::fromByteArray(rest), test::password);
    else if (input.startsWith('w'))
        import(Bytes::fromByteArray(patched(whole, rest)), test::password);
    else
        import(patchedInside(rest), u"x"_s);
}

} // namespace kelpay::fuzz

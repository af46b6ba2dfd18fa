#include "OpenSsl.h"

#include <QFile>

#include <openssl/pem.h>

#include <array>

namespace kelpay::sandbox {

OSSL_LIB_CTX *libraryWithLegacy()
{
    static OSSL_LIB_CTX *const library = [] {
        OSSL_LIB_CTX *fresh = OSSL_LIB_CTX_new();
        OSSL_PROVIDER_load(fresh, "default");
        OSSL_PROVIDER_load(fresh, "legacy");
        return fresh;
    }();
    return library;
}

QString takeOpenSslError()
{
    std::array<char, 256> text{};
    ERR_error_string_n(ERR_get_error(), text.data(), text.size());
    ERR_clear_error();
    return QString::fromLatin1(text.data());
}

static BioHandle openFile(const QString &path)
{
    return BioHandle(BIO_new_file(QFile::encodeName(path).constData(), "rb"));
}

CertificateHandle readCertificate(const QString &path)
{
    const BioHandle file = openFile(path);
    return CertificateHandle(file ? PEM_read_bio_X509(file.get(), nullptr, nullptr, nullptr) : nullptr);
}

KeyHandle readPrivateKey(const QString &path)
{
    const BioHandle file = openFile(path);
    return KeyHandle(
        file ? PEM_read_bio_PrivateKey_ex(file.get(), nullptr, nullptr, nullptr, libraryWithLegacy(), nullptr)
             : nullptr);
}

} // namespace kelpay::sandbox

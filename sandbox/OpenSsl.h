#pragma once

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pkcs12.h>
#include <openssl/provider.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <QString>

#include <memory>

namespace kelpay::sandbox {

template <auto Free> struct FreeWith
{
    template <class T> void operator()(T *handle) const noexcept { Free(handle); }
};

using BioHandle = std::unique_ptr<BIO, FreeWith<&BIO_free_all>>;
using CertificateHandle = std::unique_ptr<X509, FreeWith<&X509_free>>;
using CertificateStoreHandle = std::unique_ptr<X509_STORE, FreeWith<&X509_STORE_free>>;
using CertificateStoreContextHandle = std::unique_ptr<X509_STORE_CTX, FreeWith<&X509_STORE_CTX_free>>;
using CipherContextHandle = std::unique_ptr<EVP_CIPHER_CTX, FreeWith<&EVP_CIPHER_CTX_free>>;
using ExtensionHandle = std::unique_ptr<X509_EXTENSION, FreeWith<&X509_EXTENSION_free>>;
using KeyContextHandle = std::unique_ptr<EVP_PKEY_CTX, FreeWith<&EVP_PKEY_CTX_free>>;
using KeyHandle = std::unique_ptr<EVP_PKEY, FreeWith<&EVP_PKEY_free>>;
using Pkcs12Handle = std::unique_ptr<PKCS12, FreeWith<&PKCS12_free>>;

/// The default and the legacy algorithms together (RC2-40, as desktop keychains export, is legacy). Lives for the
/// process.
OSSL_LIB_CTX *libraryWithLegacy();

/// The oldest error of this thread as text; clears the queue.
QString takeOpenSslError();

/// A certificate or key from a PEM file; null where it can't be read.
CertificateHandle readCertificate(const QString &path);
KeyHandle readPrivateKey(const QString &path);

} // namespace kelpay::sandbox

#pragma once

// What this folder needs of OpenSSL, and the only header of the SDK that includes OpenSSL's. For sources alone: a
// header that others include must not include this one.

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/crypto.h>
#include <openssl/decoder.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pkcs12.h>
#include <openssl/provider.h>
#include <openssl/rand.h>
#include <openssl/rsa.h>
#include <openssl/x509v3.h>

#include <QByteArray>

#include <atomic>
#include <memory>

namespace kelpay::openssl {

template <auto Function> struct Free
{
    template <typename T> void operator()(T *object) const noexcept { Function(object); }
};

struct FreeCertificates
{
    void operator()(STACK_OF(X509) * certificates) const noexcept { sk_X509_pop_free(certificates, X509_free); }
};

using Number = std::unique_ptr<BIGNUM, Free<BN_clear_free>>;
using NumberContext = std::unique_ptr<BN_CTX, Free<BN_CTX_free>>;
using CipherContext = std::unique_ptr<EVP_CIPHER_CTX, Free<EVP_CIPHER_CTX_free>>;
using Pkey = std::unique_ptr<EVP_PKEY, Free<EVP_PKEY_free>>;
using PkeyContext = std::unique_ptr<EVP_PKEY_CTX, Free<EVP_PKEY_CTX_free>>;
using Decoder = std::unique_ptr<OSSL_DECODER_CTX, Free<OSSL_DECODER_CTX_free>>;
using Certificate = std::unique_ptr<X509, Free<X509_free>>;
using Certificates = std::unique_ptr<STACK_OF(X509), FreeCertificates>;
using CertificateStore = std::unique_ptr<X509_STORE, Free<X509_STORE_free>>;
using Verification = std::unique_ptr<X509_STORE_CTX, Free<X509_STORE_CTX_free>>;
using Pkcs12 = std::unique_ptr<PKCS12, Free<PKCS12_free>>;

/// The SDK's own library context, with the default and the legacy provider. The process's default context belongs to
/// the host: loading a provider there could switch off the host's own. Lives as long as the process; what couldn't be
/// loaded is tried again the next time. Throws std::bad_alloc where there is no memory for it.
OSSL_LIB_CTX *libraryContext();

/// Leaves OpenSSL's error queue of this thread as it was found: what lies there is the host's, and is not looked at.
class ErrorScope
{
public:
    ErrorScope();
    ~ErrorScope() { ERR_pop_to_mark(); }
    ErrorScope(const ErrorScope &) = delete;
    ErrorScope &operator=(const ErrorScope &) = delete;

    /// What failed last within a scope, for a log line; never holds input.
    static QByteArray reason();
    /// True when what failed last within a scope was `reason` of `library`.
    static bool lastIs(int library, int reason);
};

/// A cipher of `libraryContext()`, kept for the process: fetching costs more than sealing. One that couldn't be had is
/// asked for again.
class Cipher
{
public:
    constexpr Cipher(const char *name) : m_name(name) {}
    /// Null for none.
    const EVP_CIPHER *get();

private:
    const char *m_name;
    std::atomic<EVP_CIPHER *> m_fetched{nullptr};
};

/// Makes `libraryContext()` this thread's default for as long as it lives: for calls that parse keys and certificates
/// without a way to name a context.
class ThreadDefaultContext
{
public:
    ThreadDefaultContext() : m_former(OSSL_LIB_CTX_set0_default(libraryContext())) {}
    ~ThreadDefaultContext() { OSSL_LIB_CTX_set0_default(m_former); }
    ThreadDefaultContext(const ThreadDefaultContext &) = delete;
    ThreadDefaultContext &operator=(const ThreadDefaultContext &) = delete;

private:
    OSSL_LIB_CTX *m_former;
};

} // namespace kelpay::openssl

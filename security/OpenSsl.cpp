#include "security/OpenSsl.h"

#include "platform/Log.h"

#include <cerrno>
#include <cstring>
#include <mutex>
#include <new>

namespace kelpay::openssl {

namespace {

// Stands for the host's errors: what is above it came after the scope began.
constexpr int scopeBegins = 1;

void loadLegacy(OSSL_LIB_CTX *context, std::atomic<bool> &isWhole)
{
    const ErrorScope errors;
    static std::atomic<bool> isSaid{false};
    if (OSSL_PROVIDER_load(context, "legacy"))
        isWhole = true;
    else if (!isSaid.exchange(true))
        qCWarning(logSecurity, "OpenSSL's legacy provider can't be loaded: certificate files encrypted with RC2, and "
                               "the algorithms DES, CAST, RC4, RC2, Blowfish and MD4, are not available");
}

} // namespace

OSSL_LIB_CTX *libraryContext()
{
    // Never freed: threads may still use it while the process ends.
    static std::atomic<OSSL_LIB_CTX *> context{nullptr};
    static std::atomic<bool> isWhole{false};
    if (isWhole)
        return context;
    static std::mutex mutex;
    const std::scoped_lock lock(mutex);
    if (!context) {
        const ErrorScope errors;
        std::unique_ptr<OSSL_LIB_CTX, Free<OSSL_LIB_CTX_free>> fresh(OSSL_LIB_CTX_new());
        if (!fresh || !OSSL_PROVIDER_load(fresh.get(), "default"))
            throw std::bad_alloc();
        context = fresh.release();
    }
    if (!isWhole)
        loadLegacy(context, isWhole);
    return context;
}

const EVP_CIPHER *Cipher::get()
{
    if (const EVP_CIPHER *cipher = m_fetched)
        return cipher;
    EVP_CIPHER *const fresh = EVP_CIPHER_fetch(libraryContext(), m_name, nullptr);
    EVP_CIPHER *former = nullptr;
    if (!fresh || m_fetched.compare_exchange_strong(former, fresh))
        return fresh;
    EVP_CIPHER_free(fresh);
    return former;
}

ErrorScope::ErrorScope()
{
    ERR_set_mark();
    // Without ERR_raise's copies of file and function.
    ERR_new();
    ERR_set_error(ERR_LIB_USER, scopeBegins, nullptr);
}

QByteArray ErrorScope::reason()
{
    const int systemError = errno;
    const auto error = ERR_peek_last_error();
    const bool isNone = ERR_GET_LIB(error) == ERR_LIB_USER;
    if (const char *text = isNone ? nullptr : ERR_reason_error_string(error))
        return text;
    return std::strerror(systemError);
}

bool ErrorScope::lastIs(int library, int reason)
{
    const auto error = ERR_peek_last_error();
    return ERR_GET_LIB(error) == library && ERR_GET_REASON(error) == reason;
}

} // namespace kelpay::openssl

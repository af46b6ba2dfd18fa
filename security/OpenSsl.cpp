#include "security/OpenSsl.h"

#include "platform/Log.h"

#include <cerrno>
#include <cstring>

namespace kelpay::openssl {

OSSL_LIB_CTX *libraryContext()
{
    // Never freed: threads may still use it while the process ends.
    static OSSL_LIB_CTX *const context = [] {
        const ErrorScope errors;
        OSSL_LIB_CTX *fresh = OSSL_LIB_CTX_new();
        Q_CHECK_PTR(fresh);
        if (!OSSL_PROVIDER_load(fresh, "default"))
            qCCritical(logSecurity, "OpenSSL's default provider can't be loaded: nothing can be sealed or opened");
        if (!OSSL_PROVIDER_load(fresh, "legacy"))
            qCWarning(logSecurity,
                      "OpenSSL's legacy provider can't be loaded: certificate files encrypted with RC2, and "
                      "the algorithms DES, CAST, RC4, RC2, Blowfish and MD4, are not available");
        return fresh;
    }();
    return context;
}

QByteArray ErrorScope::reason()
{
    const int systemError = errno;
    if (const char *text = ERR_reason_error_string(ERR_peek_last_error()))
        return text;
    return std::strerror(systemError);
}

bool ErrorScope::lastIs(int library, int reason)
{
    const auto error = ERR_peek_last_error();
    return ERR_GET_LIB(error) == library && ERR_GET_REASON(error) == reason;
}

} // namespace kelpay::openssl

#include "TrustAnchors.h"

#include <QByteArray>

#include <curl/curl.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>

#include <algorithm>
#include <array>

namespace kelpay {

namespace {

/// What libcurl does with OpenSSL, it does with this one: the two may hand each other objects.
bool isOurs()
{
    static const bool is = QByteArray(curl_version_info(CURLVERSION_NOW)->ssl_version) ==
                           QByteArray("OpenSSL/") + OpenSSL_version(OPENSSL_VERSION_STRING);
    return is;
}

/// libcurl asks the same function about a proxy that speaks TLS itself, for which others vouch.
bool mayHaveTlsProxy()
{
    constexpr std::array names{"https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"};
    return std::any_of(names.begin(), names.end(),
                       [](const char *name) { return qgetenv(name).trimmed().toLower().startsWith("https:"); });
}

/// Parses where no host's setting for this thread counts, and leaves the error queue as it was.
class Scope
{
public:
    Scope() : m_former(OSSL_LIB_CTX_set0_default(OSSL_LIB_CTX_get0_global_default())) { ERR_set_mark(); }
    ~Scope()
    {
        ERR_pop_to_mark();
        OSSL_LIB_CTX_set0_default(m_former);
    }
    Scope(const Scope &) = delete;
    Scope &operator=(const Scope &) = delete;

private:
    OSSL_LIB_CTX *m_former;
};

} // namespace

struct TrustAnchors::Parsed
{
    Parsed() = default;
    Parsed(const Parsed &) = delete;
    Parsed &operator=(const Parsed &) = delete;
    ~Parsed() { sk_X509_INFO_pop_free(infos, X509_INFO_free); }

    /// False where there is none, or no memory for one.
    bool addTo(X509_STORE *store) const
    {
        bool isAdded = false;
        for (int i = 0; i < sk_X509_INFO_num(infos); ++i) {
            X509 *const certificate = sk_X509_INFO_value(infos, i)->x509;
            if (certificate && X509_STORE_add_cert(store, certificate) <= 0)
                return false;
            isAdded = isAdded || certificate;
        }
        return isAdded;
    }

    STACK_OF(X509_INFO) *infos = nullptr;
};

namespace {

// libcurl calls these two when it has set up a connection's TLS.

CURLcode vouchAlone(CURL *, void *tls, void *anchors)
{
    X509_STORE *const store = X509_STORE_new();
    // As libcurl's own store.
    const bool isReady = store &&
                         X509_STORE_set_flags(store, X509_V_FLAG_TRUSTED_FIRST | X509_V_FLAG_PARTIAL_CHAIN) > 0 &&
                         static_cast<const TrustAnchors::Parsed *>(anchors)->addTo(store);
    if (!isReady) {
        X509_STORE_free(store);
        return CURLE_OUT_OF_MEMORY;
    }
    SSL_CTX_set_cert_store(static_cast<SSL_CTX *>(tls), store);
    return CURLE_OK;
}

CURLcode vouchBeside(CURL *, void *tls, void *anchors)
{
    X509_STORE *const store = SSL_CTX_get_cert_store(static_cast<SSL_CTX *>(tls));
    return static_cast<const TrustAnchors::Parsed *>(anchors)->addTo(store) ? CURLE_OK : CURLE_OUT_OF_MEMORY;
}

} // namespace

std::shared_ptr<const TrustAnchors::Parsed> TrustAnchors::parsed(const Bytes &pem)
{
    const std::scoped_lock lock(m_mutex);
    if (m_parsed && m_pem == pem)
        return m_parsed;
    const Scope scope;
    const std::unique_ptr<BIO, decltype(&BIO_free)> bio(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())),
                                                        BIO_free);
    auto fresh = std::make_shared<Parsed>();
    fresh->infos = bio ? PEM_X509_INFO_read_bio(bio.get(), nullptr, nullptr, nullptr) : nullptr;
    const std::unique_ptr<X509_STORE, decltype(&X509_STORE_free)> trial(X509_STORE_new(), X509_STORE_free);
    if (!trial || !fresh->addTo(trial.get()))
        return nullptr;
    m_parsed = std::move(fresh);
    m_pem = pem;
    return m_parsed;
}

std::shared_ptr<const TrustAnchors::Parsed> TrustAnchors::vouchFor(void *handle, const Bytes &pem, Company company)
{
    if (!isOurs() || mayHaveTlsProxy())
        return nullptr;
    auto anchors = parsed(pem);
    if (!anchors || curl_easy_setopt(handle, CURLOPT_SSL_CTX_FUNCTION,
                                     company == Company::Alone ? vouchAlone : vouchBeside) != CURLE_OK)
        return nullptr;
    // libcurl hands it on as it was given, without const.
    curl_easy_setopt(handle, CURLOPT_SSL_CTX_DATA, const_cast<Parsed *>(anchors.get()));
    return anchors;
}

} // namespace kelpay

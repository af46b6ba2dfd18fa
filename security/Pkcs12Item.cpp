#include "security/Pkcs12Item.h"

#include "platform/Log.h"
#include "security/OpenSsl.h"
#include "security/Pkcs12Rounds.h"
#include "security/SecStatus.h"

#include <algorithm>
#include <limits>
#include <new>

namespace kelpay {

namespace {

std::shared_ptr<X509> shared(X509 *borrowed)
{
    X509_up_ref(borrowed);
    return {borrowed, X509_free};
}

// From the leaf to the last issuer that is there, whatever their order in the file.
std::vector<std::shared_ptr<X509>> chainOf(X509 *leaf, STACK_OF(X509) * others)
{
    std::vector<std::shared_ptr<X509>> chain{shared(leaf)};
    const int count = others ? sk_X509_num(others) : 0;
    while (chain.size() <= static_cast<std::size_t>(count)) {
        X509 *last = chain.back().get();
        X509 *issuer = nullptr;
        for (int i = 0; i < count && !issuer; ++i) {
            X509 *candidate = sk_X509_value(others, i);
            const bool isKnown = std::any_of(chain.begin(), chain.end(), [candidate](const auto &certificate) {
                return X509_cmp(certificate.get(), candidate) == 0;
            });
            if (!isKnown && X509_check_issued(candidate, last) == X509_V_OK)
                issuer = candidate;
        }
        if (!issuer)
            break;
        chain.push_back(shared(issuer));
    }
    return chain;
}

// The password with the zero byte that ends it for OpenSSL; none for a password that holds one itself.
std::optional<Bytes> terminated(const QString &password)
{
    const Bytes text = Bytes::fromText(password);
    if (text.view().find('\0') != std::string_view::npos)
        return std::nullopt;
    BytesBuilder builder(text.size() + 1);
    builder.append(text);
    builder.append('\0');
    return builder.take();
}

openssl::Number numberOf(const EVP_PKEY *key, const char *name)
{
    BIGNUM *number = nullptr;
    EVP_PKEY_get_bn_param(key, name, &number);
    return openssl::Number(number);
}

// Whether the numbers of a private RSA key belong together. OpenSSL hides most damage, because it computes again where
// a result is wrong, and its own check takes long over whether the factors are primes.
bool isWhole(const EVP_PKEY *key)
{
    const auto n = numberOf(key, OSSL_PKEY_PARAM_RSA_N);
    const auto e = numberOf(key, OSSL_PKEY_PARAM_RSA_E);
    const auto d = numberOf(key, OSSL_PKEY_PARAM_RSA_D);
    const auto p = numberOf(key, OSSL_PKEY_PARAM_RSA_FACTOR1);
    const auto q = numberOf(key, OSSL_PKEY_PARAM_RSA_FACTOR2);
    const auto inverse = numberOf(key, OSSL_PKEY_PARAM_RSA_COEFFICIENT1);
    const openssl::NumberContext scratch(BN_CTX_secure_new());
    const openssl::Number result(BN_new());
    if (!n || !e || !d || !p || !q || !inverse || !scratch || !result)
        return false;
    const auto fits = [&](const BIGNUM *prime, const char *exponentName) {
        const auto exponent = numberOf(key, exponentName);
        const openssl::Number order(BN_dup(prime));
        return exponent && order && BN_sub_word(order.get(), 1) &&
               BN_mod(result.get(), d.get(), order.get(), scratch.get()) && BN_cmp(result.get(), exponent.get()) == 0 &&
               BN_mod_mul(result.get(), d.get(), e.get(), order.get(), scratch.get()) && BN_is_one(result.get());
    };
    return BN_mul(result.get(), p.get(), q.get(), scratch.get()) && BN_cmp(result.get(), n.get()) == 0 &&
           fits(p.get(), OSSL_PKEY_PARAM_RSA_EXPONENT1) && fits(q.get(), OSSL_PKEY_PARAM_RSA_EXPONENT2) &&
           BN_mod_mul(result.get(), inverse.get(), q.get(), p.get(), scratch.get()) && BN_is_one(result.get());
}

std::time_t secondsOf(const ASN1_TIME *time)
{
    std::tm parts{};
    return ASN1_TIME_to_tm(time, &parts) > 0 ? ::timegm(&parts) : 0;
}

} // namespace

Pkcs12Import Pkcs12Item::import(const Bytes &file, const QString &password)
try {
    const openssl::ErrorScope errors;
    const openssl::ThreadDefaultContext ours;
    const auto secret = terminated(password);
    if (!secret)
        return {SecStatus::AuthFailed, std::nullopt};
    const auto *in = file.data();
    const openssl::Pkcs12 parsed(d2i_PKCS12(nullptr, &in, static_cast<long>(file.size())));
    if (!parsed)
        return {SecStatus::Decode, std::nullopt};
    if (!isOpenedSoon(parsed.get(), secret->view().data())) {
        qCWarning(logSecurity,
                  "a certificate file asks for too much work to be opened: save it anew with fewer iterations");
        return {SecStatus::Decode, std::nullopt};
    }

    EVP_PKEY *rawKey = nullptr;
    X509 *rawLeaf = nullptr;
    STACK_OF(X509) *rawOthers = nullptr;
    if (!PKCS12_parse(parsed.get(), secret->view().data(), &rawKey, &rawLeaf, &rawOthers)) {
        if (openssl::ErrorScope::lastIs(ERR_LIB_PKCS12, PKCS12_R_MAC_VERIFY_FAILURE))
            return {SecStatus::AuthFailed, std::nullopt};
        qCWarning(logSecurity, "a certificate file can't be opened although its password is right: %s",
                  openssl::ErrorScope::reason().constData());
        return {SecStatus::Decode, std::nullopt};
    }
    openssl::Pkey key(rawKey);
    const openssl::Certificate leaf(rawLeaf);
    const openssl::Certificates others(rawOthers);

    openssl::Pkey leafKey(leaf ? X509_get_pubkey(leaf.get()) : nullptr);
    if (!key || !leafKey)
        return {SecStatus::Success, std::nullopt};
    if (!isWhole(key.get()))
        return {SecStatus::Decode, std::nullopt};
    return {SecStatus::Success,
            Pkcs12Item(KeyRef(key.release()), KeyRef(leafKey.release()), chainOf(leaf.get(), others.get()))};
} catch (const std::bad_alloc &) {
    return {SecStatus::Allocate, std::nullopt};
}

Pkcs12Item::Pkcs12Item(KeyRef privateKey, KeyRef publicKey, Chain chain)
    : m_privateKey(std::move(privateKey)), m_publicKey(std::move(publicKey)), m_chain(std::move(chain))
{}

bool Pkcs12Item::isTrusted(std::time_t moment) const
{
    const openssl::ErrorScope errors;
    const openssl::ThreadDefaultContext ours;
    X509 *leaf = m_chain.front().get();
    const openssl::CertificateStore anchors(X509_STORE_new());
    const openssl::Verification verification(X509_STORE_CTX_new_ex(openssl::libraryContext(), nullptr));
    // All certificates of the chain are anchors, the leaf as well: the shortest path is the leaf alone. Given the
    // others too, OpenSSL would insist on the longest path and fail with an issuer that has expired.
    if (!anchors || !verification || X509_STORE_add_cert(anchors.get(), leaf) <= 0 ||
        X509_STORE_CTX_init(verification.get(), anchors.get(), leaf, nullptr) <= 0)
        return false;
    X509_STORE_CTX_set_flags(verification.get(), X509_V_FLAG_PARTIAL_CHAIN);
    X509_STORE_CTX_set_time(verification.get(), 0, moment);
    return X509_verify_cert(verification.get()) == 1;
}

Pkcs12Item::Period Pkcs12Item::unchangedAround(std::time_t moment) const
{
    const openssl::ErrorScope errors;
    Period period{std::numeric_limits<std::time_t>::min(), std::numeric_limits<std::time_t>::max()};
    for (const auto &certificate : m_chain) {
        for (const auto *boundary : {X509_get0_notBefore(certificate.get()), X509_get0_notAfter(certificate.get())}) {
            const std::time_t seconds = secondsOf(boundary);
            if (seconds <= moment)
                period.from = std::max(period.from, seconds);
            else
                period.until = std::min(period.until, seconds);
        }
    }
    return period;
}

} // namespace kelpay

#include "security/Pkcs12Rounds.h"

#include "security/OpenSsl.h"

#include <cstdint>

namespace kelpay {

namespace {

struct FreeAll
{
    void operator()(STACK_OF(PKCS7) * safes) const noexcept { sk_PKCS7_pop_free(safes, PKCS7_free); }
    void operator()(STACK_OF(PKCS12_SAFEBAG) * bags) const noexcept
    {
        sk_PKCS12_SAFEBAG_pop_free(bags, PKCS12_SAFEBAG_free);
    }
};
using Safes = std::unique_ptr<STACK_OF(PKCS7), FreeAll>;
using Bags = std::unique_ptr<STACK_OF(PKCS12_SAFEBAG), FreeAll>;

// Of all that a file holds together. Three derivations of 600,000 rounds is the most that usual makers ask for.
constexpr std::int64_t most = 2'000'000;

class Rounds
{
public:
    bool areFew() const { return m_areFew; }
    void refuse() { m_areFew = false; }

    // None means one round.
    void add(const ASN1_INTEGER *count)
    {
        std::int64_t rounds = 1;
        m_areFew =
            m_areFew && (!count || ASN1_INTEGER_get_int64(&rounds, count) > 0) && rounds >= 0 && rounds <= most - m_sum;
        m_sum += m_areFew ? rounds : 0;
    }

    void add(const X509_ALGOR *encryption)
    {
        const auto read = [](const X509_ALGOR *algorithm, const ASN1_ITEM *item) {
            return algorithm ? ASN1_TYPE_unpack_sequence(item, algorithm->parameter) : nullptr;
        };
        if (OBJ_obj2nid(encryption->algorithm) != NID_pbes2) {
            const std::unique_ptr<PBEPARAM, openssl::Free<PBEPARAM_free>> scheme(
                static_cast<PBEPARAM *>(read(encryption, ASN1_ITEM_rptr(PBEPARAM))));
            return scheme ? add(scheme->iter) : refuse();
        }
        const std::unique_ptr<PBE2PARAM, openssl::Free<PBE2PARAM_free>> scheme(
            static_cast<PBE2PARAM *>(read(encryption, ASN1_ITEM_rptr(PBE2PARAM))));
        // Any other has another measure of its work.
        const bool isPbkdf2 = scheme && OBJ_obj2nid(scheme->keyfunc->algorithm) == NID_id_pbkdf2;
        const std::unique_ptr<PBKDF2PARAM, openssl::Free<PBKDF2PARAM_free>> derivation(
            static_cast<PBKDF2PARAM *>(read(isPbkdf2 ? scheme->keyfunc : nullptr, ASN1_ITEM_rptr(PBKDF2PARAM))));
        return derivation ? add(derivation->iter) : refuse();
    }

    void add(const STACK_OF(PKCS12_SAFEBAG) * bags)
    {
        for (int i = 0; i < sk_PKCS12_SAFEBAG_num(bags); ++i) {
            const PKCS12_SAFEBAG *bag = sk_PKCS12_SAFEBAG_value(bags, i);
            if (PKCS12_SAFEBAG_get_nid(bag) == NID_safeContentsBag)
                add(PKCS12_SAFEBAG_get0_safes(bag));
            if (PKCS12_SAFEBAG_get_nid(bag) != NID_pkcs8ShroudedKeyBag)
                continue;
            const X509_ALGOR *encryption = nullptr;
            X509_SIG_get0(PKCS12_SAFEBAG_get0_pkcs8(bag), &encryption, nullptr);
            add(encryption);
        }
    }

private:
    std::int64_t m_sum = 0;
    bool m_areFew = true;
};

} // namespace

bool isOpenedSoon(PKCS12 *file, const char *password)
{
    Rounds rounds;
    const ASN1_INTEGER *ofMac = nullptr;
    const X509_ALGOR *mac = nullptr;
    PKCS12_get0_mac(nullptr, &mac, nullptr, &ofMac, file);
    if (mac)
        rounds.add(ofMac);
    if (mac && OBJ_obj2nid(mac->algorithm) == NID_pbmac1)
        rounds.refuse();
    if (!rounds.areFew())
        return false;
    // What its maker meant by an empty password: none, or a text without characters.
    if (*password == '\0' && PKCS12_verify_mac(file, nullptr, 0))
        password = nullptr;

    const Safes safes(PKCS12_unpack_authsafes(file));
    for (int i = 0; i < sk_PKCS7_num(safes.get()) && rounds.areFew(); ++i) {
        PKCS7 *safe = sk_PKCS7_value(safes.get(), i);
        const bool isEncrypted = PKCS7_type_is_encrypted(safe) && safe->d.encrypted;
        if (isEncrypted)
            rounds.add(safe->d.encrypted->enc_data->algorithm);
        if (!rounds.areFew())
            break;
        // What is encrypted may hold keys that are encrypted once more.
        const Bags bags(isEncrypted                ? PKCS12_unpack_p7encdata(safe, password, -1)
                        : PKCS7_type_is_data(safe) ? PKCS12_unpack_p7data(safe)
                                                   : nullptr);
        rounds.add(bags.get());
    }
    return rounds.areFew();
}

} // namespace kelpay

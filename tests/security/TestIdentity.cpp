#include "TestIdentity.h"

#include "security/OpenSsl.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <limits>

namespace kelpay::test {

using namespace Qt::StringLiterals;

namespace {

using openssl::Certificate;
using openssl::Pkey;

Pkey makeKey(int bits)
{
    return Pkey(EVP_PKEY_Q_keygen(openssl::libraryContext(), nullptr, "RSA", static_cast<std::size_t>(bits)));
}

// The key with another private exponent; its public half is the same.
Pkey damaged(const EVP_PKEY *key)
{
    OSSL_PARAM *params = nullptr;
    EVP_PKEY_todata(key, EVP_PKEY_KEYPAIR, &params);
    OSSL_PARAM *exponent = OSSL_PARAM_locate(params, OSSL_PKEY_PARAM_RSA_D);
    *static_cast<unsigned char *>(exponent->data) ^= 2;
    const openssl::PkeyContext context(EVP_PKEY_CTX_new_from_name(openssl::libraryContext(), "RSA", nullptr));
    EVP_PKEY *made = nullptr;
    if (EVP_PKEY_fromdata_init(context.get()) <= 0 ||
        EVP_PKEY_fromdata(context.get(), &made, EVP_PKEY_KEYPAIR, params) <= 0)
        qFatal("a test key can't be damaged");
    OSSL_PARAM_free(params);
    return Pkey(made);
}

struct Subject
{
    const char *name;
    EVP_PKEY *key;
};

Certificate sign(const Subject &subject, const Subject &issuer, const IdentityRecipe &recipe)
{
    Certificate certificate(X509_new());
    static long serial = 0;
    ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), ++serial);
    X509_set_version(certificate.get(), X509_VERSION_3);
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), recipe.notBefore);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), recipe.notAfter);
    const auto addName = [](X509_NAME *name, const char *text) {
        X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, reinterpret_cast<const unsigned char *>(text), -1, -1, 0);
    };
    addName(X509_get_subject_name(certificate.get()), subject.name);
    addName(X509_get_issuer_name(certificate.get()), issuer.name);
    X509_set_pubkey(certificate.get(), subject.key);
    X509_sign(certificate.get(), issuer.key, EVP_sha256());
    return certificate;
}

template <typename Object> Bytes der(const Object *object, int (*encode)(const Object *, unsigned char **))
{
    unsigned char *out = nullptr;
    const int length = encode(object, &out);
    Bytes bytes(out, static_cast<std::size_t>(length));
    OPENSSL_free(out);
    return bytes;
}

void makeEndless(X509_ALGOR *encryption)
{
    auto *scheme =
        static_cast<PBE2PARAM *>(ASN1_TYPE_unpack_sequence(ASN1_ITEM_rptr(PBE2PARAM), encryption->parameter));
    auto *derivation =
        static_cast<PBKDF2PARAM *>(ASN1_TYPE_unpack_sequence(ASN1_ITEM_rptr(PBKDF2PARAM), scheme->keyfunc->parameter));
    ASN1_INTEGER_set(derivation->iter, std::numeric_limits<int>::max());
    ASN1_TYPE_pack_sequence(ASN1_ITEM_rptr(PBKDF2PARAM), derivation, &scheme->keyfunc->parameter);
    ASN1_TYPE_pack_sequence(ASN1_ITEM_rptr(PBE2PARAM), scheme, &encryption->parameter);
    PBKDF2PARAM_free(derivation);
    PBE2PARAM_free(scheme);
}

// The first safe has the certificates, encrypted; the second the key.
void makeEndless(PKCS12 *file, const IdentityRecipe &recipe)
{
    using Rounds = IdentityRecipe::Rounds;
    STACK_OF(PKCS7) *safes = PKCS12_unpack_authsafes(file);
    if (recipe.endless == Rounds::Safe)
        makeEndless(sk_PKCS7_value(safes, 0)->d.encrypted->enc_data->algorithm);
    if (recipe.endless == Rounds::Key || recipe.endless == Rounds::HiddenKey) {
        PKCS7 *const former = sk_PKCS7_pop(safes);
        STACK_OF(PKCS12_SAFEBAG) *bags = PKCS12_unpack_p7data(former);
        X509_ALGOR *encryption = nullptr;
        X509_SIG_getm(const_cast<X509_SIG *>(PKCS12_SAFEBAG_get0_pkcs8(sk_PKCS12_SAFEBAG_value(bags, 0))), &encryption,
                      nullptr);
        makeEndless(encryption);
        sk_PKCS7_push(
            safes, recipe.endless == Rounds::Key
                       ? PKCS12_pack_p7data(bags)
                       : PKCS12_pack_p7encdata(NID_aes_256_cbc, recipe.password.c_str(), -1, nullptr, 0, 2048, bags));
        sk_PKCS12_SAFEBAG_pop_free(bags, PKCS12_SAFEBAG_free);
        PKCS7_free(former);
    }
    PKCS12_pack_authsafes(file, safes);
    sk_PKCS7_pop_free(safes, PKCS7_free);
    PKCS12_set_mac(file, recipe.password.c_str(), -1, nullptr, 0, 2048, nullptr);
    const ASN1_INTEGER *ofMac = nullptr;
    PKCS12_get0_mac(nullptr, nullptr, nullptr, &ofMac, file);
    if (recipe.endless == Rounds::Mac)
        ASN1_INTEGER_set(const_cast<ASN1_INTEGER *>(ofMac), std::numeric_limits<int>::max());
}

} // namespace

Bytes makeIdentity(const IdentityRecipe &recipe)
{
    const openssl::ThreadDefaultContext ours;
    const Pkey key = makeKey(recipe.bits);
    const Pkey rootKey = makeKey(recipe.hasIssuers ? 2048 : 512);
    const Pkey middleKey = makeKey(recipe.hasIssuers ? 2048 : 512);
    const Subject leaf{"leaf", key.get()};
    const Subject middle{"middle", middleKey.get()};
    const Subject root{"root", rootKey.get()};
    const Certificate certificate = sign(leaf, recipe.hasIssuers ? middle : leaf, recipe);
    const openssl::Certificates others(sk_X509_new_null());
    if (recipe.hasIssuers) {
        sk_X509_push(others.get(), sign(root, root, recipe).release());
        sk_X509_push(others.get(), sign(middle, root, recipe).release());
    }
    int keyCipher = NID_aes_256_cbc;
    int certificateCipher = NID_aes_256_cbc;
    if (recipe.encryption != IdentityRecipe::Encryption::Aes256)
        keyCipher = certificateCipher = NID_pbe_WithSHA1And3_Key_TripleDES_CBC;
    if (recipe.encryption == IdentityRecipe::Encryption::Rc2AndTripleDes)
        certificateCipher = NID_pbe_WithSHA1And40BitRC2_CBC;
    const Pkey stored = recipe.isKeyDamaged ? damaged(key.get()) : nullptr;
    EVP_PKEY *const keyInFile = stored ? stored.get() : recipe.hasKey ? key.get() : nullptr;
    const openssl::Pkcs12 file(PKCS12_create_ex(recipe.password.c_str(), "test", keyInFile, certificate.get(),
                                                others.get(), keyCipher, certificateCipher, recipe.rounds,
                                                recipe.rounds, 0, openssl::libraryContext(), nullptr));
    if (!file)
        qFatal("a test identity can't be made");
    if (recipe.endless != IdentityRecipe::Rounds::None)
        makeEndless(file.get(), recipe);
    return der<PKCS12>(file.get(), i2d_PKCS12);
}

Bytes makeCertificate(int bits)
{
    const openssl::ThreadDefaultContext ours;
    const Pkey key = makeKey(bits);
    const Subject self{"self", key.get()};
    return der<X509>(sign(self, self, {}).get(), i2d_X509);
}

InstalledIdentity::InstalledIdentity(const Bytes &file)
{
    QTemporaryDir folder;
    folder.setAutoRemove(false);
    m_folder = folder.path();
    replace(file);
    qputenv("KELPAY_RESOURCES", QFile::encodeName(m_folder));
}

InstalledIdentity::~InstalledIdentity()
{
    qunsetenv("KELPAY_RESOURCES");
    QDir(m_folder).removeRecursively();
}

void InstalledIdentity::replace(const Bytes &file) const
{
    QFile out(path());
    if (!out.open(QIODevice::WriteOnly | QIODevice::Truncate) || out.write(file.toByteArray()) < 0)
        qFatal("a test identity can't be written");
}

void InstalledIdentity::remove() const
{
    QFile::remove(path());
}

QString InstalledIdentity::path() const
{
    return m_folder + u"/IOSNewCert.pfx"_s;
}

} // namespace kelpay::test

#include "TestIdentity.h"

#include "security/AFAES.h"
#include "security/AFRSA.h"
#include "security/CoreSecurity.h"
#include "security/OpenSsl.h"
#include "security/Random.h"
#include "security/keychain/CoreKeychain.h"
#include "security/keychain/SealedValue.h"
#include "security/toolbox/PPRSA.h"

#include <gtest/gtest.h>

#include <random>
#include <utility>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

constexpr std::size_t plenty = 1 << 20;

// The generators of our library context are OpenSSL's test generator, which gives out what it is fed and then fails.
class DeadRandomTest : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        ASSERT_TRUE(RAND_set_DRBG_type(openssl::libraryContext(), "TEST-RAND", nullptr, nullptr, nullptr));
        feed(plenty);
        identity = std::make_unique<test::InstalledIdentity>(test::makeIdentity());
    }
    static void TearDownTestSuite() { identity.reset(); }

    // The generators give `size` bytes from now on and none after that; the public one has plenty where it `isFed`.
    static void feed(std::size_t size, bool isFed = false)
    {
        static std::mt19937 numbers{1};
        for (auto *generator :
             {RAND_get0_public(openssl::libraryContext()), RAND_get0_private(openssl::libraryContext())}) {
            std::string bytes(std::exchange(isFed, false) ? plenty : size, '\0');
            for (char &byte : bytes)
                byte = static_cast<char>(numbers());
            const OSSL_PARAM params[] = {
                OSSL_PARAM_construct_octet_string(OSSL_RAND_PARAM_TEST_ENTROPY, bytes.data(), bytes.size()),
                OSSL_PARAM_construct_end()};
            ASSERT_TRUE(EVP_RAND_CTX_set_params(generator, params));
        }
    }

    static inline std::unique_ptr<test::InstalledIdentity> identity;
};

} // namespace

TEST_F(DeadRandomTest, WithoutPrivateOnesGivesNullResults)
{
    feed(0, true);
    EXPECT_FALSE(generateSecureRandomData(1));
    EXPECT_FALSE(generateSymmetricKeyForAlgorithm(0));
    EXPECT_FALSE(generateIVForAlgorithm(0));
    EXPECT_EQ(PPRSA::randomStringOfLength(8), QString());
    EXPECT_FALSE(sealValue(Bytes(std::string(32, 'k')), Bytes(), Bytes()));
    EXPECT_FALSE(AFAES::sharedAFAES().AES256Encrypt(Bytes(std::string_view("x"))));
    EXPECT_FALSE(AFRSA::sharedAFRSA().publicKey());
    EXPECT_FALSE(AFRSA::sharedAFRSA().generateKeys());
    EXPECT_FALSE(CoreKeychain(u"dead"_s).setString(u"x"_s, u"key"_s));
    EXPECT_FALSE(CoreKeychain(u"dead"_s).hasValueForKey(u"key"_s));
}

TEST_F(DeadRandomTest, NothingPlainAndNoWeakKeyGoesOut)
{
    UserDefaults defaults{QString()};
    const auto sealed = [&](std::size_t bytes) {
        feed(bytes);
        return CoreSecurity(defaults).encryptRequest({{u"pan"_s, u"marker"_s}});
    };
    ASSERT_FALSE(sealed(plenty).contains(u"(null)"_s));
    const auto key = defaults.string(u"latest_key"_s);
    // The source dies before the key of 32 bytes, before the vector of 16, before the padding of RSA; then it holds
    // out.
    EXPECT_EQ(sealed(31), u"'(null)#(null)\n'"_s);
    EXPECT_EQ(defaults.string(u"latest_key"_s), key);
    EXPECT_EQ(sealed(47), u"'(null)#(null)\n'"_s);
    const QString unwrapped = sealed(48);
    EXPECT_TRUE(unwrapped.startsWith(u"'(null)#"_s));
    EXPECT_EQ(unwrapped.count(u"(null)"_s), 1);
    EXPECT_FALSE(sealed(plenty).contains(u"(null)"_s));
}

} // namespace kelpay

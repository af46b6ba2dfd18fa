#define OPENSSL_SUPPRESS_DEPRECATED
#include "TestIdentity.h"

#include "security/AFAES.h"
#include "security/AFRSA.h"
#include "security/CoreSecurity.h"
#include "security/OpenSsl.h"
#include "security/PPRSA.h"
#include "security/Random.h"
#include "security/keychain/CoreKeychain.h"
#include "security/keychain/SealedValue.h"

#include <gtest/gtest.h>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

// All of the process's random bytes come from here while it lives: `healthy` draws succeed, then none does.
class FailingSource
{
public:
    explicit FailingSource(int healthy)
    {
        left = healthy;
        static const RAND_METHOD method{nullptr, draw, nullptr, nullptr, draw, nullptr};
        RAND_set_rand_method(&method);
    }
    ~FailingSource() { RAND_set_rand_method(nullptr); }
    FailingSource(const FailingSource &) = delete;
    FailingSource &operator=(const FailingSource &) = delete;

private:
    static int draw(unsigned char *out, int size)
    {
        if (left-- <= 0)
            return 0;
        for (int i = 0; i < size; ++i)
            out[i] = static_cast<unsigned char>(i + left + 1);
        return 1;
    }
    static inline int left = 0;
};

} // namespace

TEST(DeadRandom, GivesNullResults)
{
    const test::InstalledIdentity identity(test::makeIdentity());
    const FailingSource source(0);
    EXPECT_FALSE(generateSecureRandomData(1));
    EXPECT_FALSE(generateSymmetricKeyForAlgorithm(0));
    EXPECT_FALSE(generateIVForAlgorithm(0));
    EXPECT_EQ(PPRSA::randomStringOfLength(8), QString());
    EXPECT_FALSE(sealValue(Bytes(std::string(32, 'k')), Bytes(), Bytes()));
    EXPECT_FALSE(AFAES::sharedAFAES().AES256Encrypt(Bytes(std::string_view("x"))));
    EXPECT_FALSE(AFRSA::sharedAFRSA().publicKey());
    EXPECT_FALSE(AFRSA::sharedAFRSA().generateKeys(512));
    EXPECT_FALSE(CoreKeychain(u"dead"_s).setString(u"x"_s, u"key"_s));
    EXPECT_FALSE(CoreKeychain(u"dead"_s).hasValue(u"key"_s));
}

TEST(DeadRandom, NothingPlainAndNoWeakKeyGoesOut)
{
    const test::InstalledIdentity identity(test::makeIdentity());
    UserDefaults defaults{QString()};
    const CoreSecurity security(defaults);
    const QJsonObject request{{u"pan"_s, u"marker"_s}};
    ASSERT_FALSE(security.encryptRequest(request).contains(u"(null)"_s));
    const auto key = defaults.string(u"latest_key"_s);
    // The source dies before the key, before the vector, before the padding of RSA; then it holds out.
    const QString none = u"'(null)#(null)\n'"_s;
    {
        const FailingSource source(0);
        EXPECT_EQ(security.encryptRequest(request), none);
        EXPECT_EQ(defaults.string(u"latest_key"_s), key);
    }
    {
        const FailingSource source(1);
        EXPECT_EQ(security.encryptRequest(request), none);
    }
    {
        const FailingSource source(2);
        const QString envelope = security.encryptRequest(request);
        EXPECT_TRUE(envelope.startsWith(u"'(null)#"_s));
        EXPECT_EQ(envelope.count(u"(null)"_s), 1);
    }
    const FailingSource source(1000);
    EXPECT_FALSE(security.encryptRequest(request).contains(u"(null)"_s));
}

} // namespace kelpay

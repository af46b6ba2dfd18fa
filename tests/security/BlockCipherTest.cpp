#define OPENSSL_SUPPRESS_DEPRECATED
#include "security/BlockCipher.h"
#include "security/AFRSA.h"
#include "security/OpenSsl.h"
#include "security/Pkcs12Item.h"
#include "security/Random.h"
#include "security/toolbox/Hex.h"

#include <gtest/gtest.h>

#include <unistd.h>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

Bytes hex(std::string_view digits)
{
    return decodeFromHexData(Bytes(digits)).value();
}

std::optional<Bytes> crypt(unsigned algorithm, const Bytes &key, const std::optional<Bytes> &iv, unsigned operation,
                           const Bytes &data, bool isPadded, bool isECB)
{
    return doBlockCipherWithAlgorithm(data, algorithm, key, iv, operation, isPadded, isECB);
}

struct KnownAnswer
{
    const char *name;
    unsigned algorithm;
    const char *key;
    const char *iv; // "" for ECB
    const char *plain;
    const char *cipher;
};

constexpr const char *nistIv = "000102030405060708090a0b0c0d0e0f";
constexpr const char *nistPlain = "6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51";
constexpr const char *nist128 = "2b7e151628aed2a6abf7158809cf4f3c";
constexpr const char *nist192 = "8e73b0f7da0e6452c810f32b809079e562f8ead2522c6b7b";
constexpr const char *nist256 = "603deb1015ca71be2b73aef0857d77811f352c073b6108d72d9810a30914dff4";

const KnownAnswer knownAnswers[] = {
    {"SP 800-38A ECB-AES128", CipherAES, nist128, "", nistPlain,
     "3ad77bb40d7a3660a89ecaf32466ef97f5d3d58503b9699de785895a96fdbaaf"},
    {"SP 800-38A ECB-AES192", CipherAES, nist192, "", nistPlain,
     "bd334f1d6e45f25ff712a214571fa5cc974104846d0ad3ad7734ecb3ecee4eef"},
    {"SP 800-38A ECB-AES256", CipherAES, nist256, "", nistPlain,
     "f3eed1bdb5d2a03c064b5a7e3db181f8591ccb10d410ed26dc5ba74a31362870"},
    {"SP 800-38A CBC-AES128", CipherAES, nist128, nistIv, nistPlain,
     "7649abac8119b246cee98e9b12e9197d5086cb9b507219ee95db113a917678b2"},
    {"SP 800-38A CBC-AES192", CipherAES, nist192, nistIv, nistPlain,
     "4f021db243bc633d7178183a9fa071e8b4d9ada9ad7dedf4e5e738763f69145a"},
    {"SP 800-38A CBC-AES256", CipherAES, nist256, nistIv, nistPlain,
     "f58c4c04d6e5f1ba779eabfb5f7bfbd69cfc4e967edb808d679f777bc6702c7d"},
    {"a number that is no algorithm is AES", 9, nist128, "", nistPlain,
     "3ad77bb40d7a3660a89ecaf32466ef97f5d3d58503b9699de785895a96fdbaaf"},
    {"DES", CipherDES, "133457799bbcdff1", "", "0123456789abcdef", "85e813540f0ab405"},
    {"SP 800-67", CipherTripleDES, "0123456789abcdef23456789abcdef01456789abcdef0123", "",
     "5468652071756663 6b2062726f776e20 666f78206a756d70", "a826fd8ce53b855f cce21c8112256fe6 68d5c05dd9b6b900"},
    {"RFC 2144, 128 bits", CipherCAST, "0123456712345678234567893456789a", "", "0123456789abcdef", "238b4fe5847e44b2"},
    {"RFC 2144, 80 bits", CipherCAST, "01234567123456782345", "", "0123456789abcdef", "eb6a711a2c02271b"},
    {"RFC 2144, 40 bits", CipherCAST, "0123456712", "", "0123456789abcdef", "7ac816d16e9b302e"},
    {"RFC 6229, 40 bits", CipherRC4, "0102030405", "", "00000000000000000000000000000000",
     "b2396305f03dc027ccc3524a0a1118a8"},
    {"RFC 2268, 64 bits", CipherRC2, "3000000000000000", "", "1000000000000001", "30649edf9be7d2c2"},
    {"RFC 2268, 128 bits", CipherRC2, "88bca90e90875a7f0f79c384627bafb2", "", "0000000000000000", "2269552ab0f85ca6"},
    {"Blowfish, 64 bits", CipherBlowfish, "0123456789abcdef", "", "1111111111111111", "61f9c3802281b096"},
};

std::string withoutSpaces(std::string text)
{
    std::erase(text, ' ');
    return text;
}

} // namespace

TEST(BlockCipher, GivesPublishedAnswers)
{
    for (const auto &known : knownAnswers) {
        SCOPED_TRACE(known.name);
        const Bytes key = hex(known.key);
        const bool isECB = *known.iv == '\0';
        const auto iv = isECB ? generateIVForAlgorithm(CipherAES) : hex(known.iv);
        const Bytes plain = hex(withoutSpaces(known.plain));
        const Bytes cipher = hex(withoutSpaces(known.cipher));
        EXPECT_EQ(crypt(known.algorithm, key, iv, CipherEncrypt, plain, false, isECB), cipher);
        EXPECT_EQ(crypt(known.algorithm, key, iv, CipherDecrypt, cipher, false, isECB), plain);
    }
}

TEST(BlockCipher, RoundTripsEveryAlgorithmModeAndLength)
{
    for (unsigned algorithm = CipherAES; algorithm <= CipherBlowfish; ++algorithm) {
        const auto key = *generateSymmetricKeyForAlgorithm(algorithm);
        const auto iv = generateIVForAlgorithm(algorithm);
        const auto blockSize = cipherTraits(algorithm).blockSize;
        EXPECT_EQ(iv->size(), blockSize);
        for (const bool isECB : {false, true}) {
            for (std::size_t size = 0; size <= 3 * blockSize; ++size) {
                SCOPED_TRACE(testing::Message() << algorithm << (isECB ? " ECB " : " CBC ") << size);
                const auto plain = *generateSecureRandomData(size);
                const auto padded = crypt(algorithm, key, iv, CipherEncrypt, plain, true, isECB);
                ASSERT_TRUE(padded);
                EXPECT_EQ(padded->size(), algorithm == CipherRC4 ? size : (size / blockSize + 1) * blockSize);
                EXPECT_EQ(crypt(algorithm, key, iv, CipherDecrypt, *padded, true, isECB), plain);

                const auto bare = crypt(algorithm, key, iv, CipherEncrypt, plain, false, isECB);
                ASSERT_TRUE(bare);
                EXPECT_EQ(bare->size(), (size + blockSize - 1) / blockSize * blockSize);
                EXPECT_EQ(crypt(algorithm, key, iv, CipherDecrypt, *bare, false, isECB), plain);
                EXPECT_EQ(extraPaddingLength(), 0U);
            }
        }
    }
}

TEST(BlockCipher, RefusesWhatItCantUse)
{
    const auto key = *generateSymmetricKeyForAlgorithm(CipherAES);
    const Bytes plain(std::string(40, 'x'));
    EXPECT_FALSE(crypt(CipherAES, key, {}, CipherDecrypt, Bytes(std::string(48, 'x')), true, false)) << "bad padding";
    EXPECT_FALSE(crypt(CipherAES, key, Bytes(std::string(15, 'i')), CipherEncrypt, plain, true, false));
    EXPECT_FALSE(crypt(CipherAES, key, {}, 2, plain, true, false));
    EXPECT_FALSE(doBlockCipherWithAlgorithm(std::nullopt, CipherAES, key, {}, CipherEncrypt, true));
    EXPECT_FALSE(doBlockCipherWithAlgorithm(plain, CipherAES, std::nullopt, {}, CipherEncrypt, true));
}

TEST(OpenSsl, TheHostsErrorsAreNeitherReadNorCleared)
{
    ERR_clear_error();
    ERR_raise(ERR_LIB_PKCS12, PKCS12_R_MAC_VERIFY_FAILURE);
    const auto key = *generateSymmetricKeyForAlgorithm(CipherAES);
    static QString said;
    const auto former =
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &text) { said += text; });
    EXPECT_FALSE(crypt(CipherAES, key, {}, 2, Bytes(std::string(40, 'x')), true, false))
        << "fails before OpenSSL is asked";
    EXPECT_FALSE(crypt(CipherAES, key, {}, CipherDecrypt, Bytes(std::string(48, 'x')), true, false));
    EXPECT_TRUE(crypt(CipherAES, key, {}, CipherEncrypt, key, true, false));
    EXPECT_EQ(Pkcs12Item::import(Bytes(std::string_view("no file")), QString()).status, -26275);
    qInstallMessageHandler(former);
    EXPECT_FALSE(said.contains("mac verify"_L1)) << said.toStdString();
    EXPECT_EQ(ERR_GET_REASON(ERR_get_error()), PKCS12_R_MAC_VERIFY_FAILURE);
    EXPECT_EQ(ERR_get_error(), 0U);
}

TEST(OpenSslDeathTest, FailedFirstUseIsNotForEver)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // a process of its own
    const auto firstUse = [] {
        const auto key = *generateSymmetricKeyForAlgorithm(CipherBlowfish);
        return crypt(CipherBlowfish, key, {}, CipherEncrypt, key, true, false).has_value();
    };
    EXPECT_EXIT(
        {
            qputenv("OPENSSL_MODULES", "/nowhere");
            const bool hadOne = firstUse();
            qunsetenv("OPENSSL_MODULES");
            ::_exit(!hadOne && firstUse() ? 42 : 43);
        },
        testing::ExitedWithCode(42), "");
}

TEST(Random, NeverAsksTheHostsMethod)
{
    static int draws = 0;
    constexpr auto draw = [](unsigned char *out, int size) {
        ++draws;
        std::fill_n(out, size, std::uint8_t{7});
        return 1;
    };
    static const RAND_METHOD method{nullptr, draw, nullptr, nullptr, draw, nullptr};
    auto &rsa = AFRSA::sharedAFRSA();
    ASSERT_TRUE(rsa.generateKeys());
    RAND_set_rand_method(&method);
    const Bytes data = *generateSecureRandomData(32);
    EXPECT_NE(generateSecureRandomData(32), data);
    EXPECT_NE(rsa.encryptDataWithPublicKey(data), rsa.encryptDataWithPublicKey(data));
    EXPECT_EQ(draws, 0);
    RAND_set_rand_method(nullptr);
}

} // namespace kelpay

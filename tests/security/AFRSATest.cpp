#include "TestIdentity.h"

#include "security/AFRSA.h"
#include "security/BlockCipher.h"
#include "security/Random.h"

#include <gtest/gtest.h>

#include <QElapsedTimer>

#include <thread>

namespace kelpay {

using namespace Qt::StringLiterals;
using test::IdentityRecipe;

namespace {

const QString password = u"qwpLumaXYT@#781"_s;

AFRSA &rsa()
{
    return AFRSA::sharedAFRSA();
}

} // namespace

TEST(AFRSA, CutsDataIntoChunks)
{
    ASSERT_TRUE(rsa().generateKeys());
    const std::size_t block = rsa().publicKey()->blockSize();
    EXPECT_EQ(block, 128U);
    EXPECT_FALSE(rsa().encryptDataWithPublicKey(Bytes()));
    for (const std::size_t size : {std::size_t{1}, block - 11, block - 10, 2 * (block - 11), std::size_t{1000}}) {
        const Bytes data = *generateSecureRandomData(size);
        const auto cipher = rsa().encryptDataWithPublicKey(data);
        ASSERT_TRUE(cipher);
        EXPECT_EQ(cipher->size(), (size + block - 12) / (block - 11) * block);
        EXPECT_EQ(rsa().decryptDataWithPrivateKey(*cipher), data);
        EXPECT_FALSE(rsa().doCipherWithData(data, rsa().publicKey(), 2));
        EXPECT_FALSE(rsa().doCipherWithData(data, std::nullopt, CipherEncrypt));
    }
}

TEST(AFRSA, OneChunksSizeBoundsTheNext)
{
    ASSERT_TRUE(rsa().generateKeys());
    const auto sealed = [](std::size_t size) { return *rsa().encryptDataWithPublicKey(Bytes(std::string(size, 'x'))); };
    const auto opened = [&](std::size_t first, std::size_t second) {
        BytesBuilder both;
        both.append(sealed(first));
        both.append(sealed(second));
        return rsa().decryptDataWithPrivateKey(both.take());
    };
    EXPECT_EQ(opened(10, 5), Bytes(std::string(15, 'x')));
    EXPECT_EQ(opened(10, 10), Bytes(std::string(20, 'x')));
    EXPECT_FALSE(opened(5, 10));
}

TEST(AFRSA, DamagedBlocksNeverGiveTheData)
{
    ASSERT_TRUE(rsa().generateKeys());
    const Bytes data = *generateSecureRandomData(32);
    const Bytes cipher = *rsa().encryptDataWithPublicKey(data);
    for (std::size_t at = 0; at < cipher.size(); ++at) {
        std::string flipped(cipher.view());
        flipped[at] = static_cast<char>(flipped[at] ^ 1);
        EXPECT_NE(rsa().decryptDataWithPrivateKey(Bytes(flipped)), data) << at;
        EXPECT_NE(rsa().decryptDataWithPrivateKey(Bytes(cipher.data(), at)), data) << at;
    }
    EXPECT_FALSE(rsa().doCipherWithData(cipher, rsa().publicKey(), CipherDecrypt)) << "no private half";
}

TEST(AFRSA, SignsUnderEachPadding)
{
    ASSERT_TRUE(rsa().keysFromData(test::makeIdentity(), password));
    const Bytes data(std::string_view("signed"));
    EXPECT_EQ(rsa().padding(), AFRSA::PaddingPKCS1SHA1);
    for (const std::uint32_t padding :
         {0U, 1U, 2U, 0x8000U, 0x8001U, 0x8002U, 0x8003U, 0x8004U, 0x8005U, 0x8006U, 0x8007U, 0xffffffffU}) {
        rsa().setPadding(padding);
        const auto signature = rsa().signDataWithPrivateKey(data);
        ASSERT_TRUE(signature) << padding;
        EXPECT_EQ(signature->size(), 256U);
        EXPECT_TRUE(rsa().verifyDataWithPublicKey(data, *signature)) << padding;
        const bool hasDigest = padding >= 0x8002U && padding <= 0x8006U;
        EXPECT_EQ(rsa().verifyDataWithPublicKey(Bytes(std::string_view("other")), *signature), !hasDigest)
            << "without a digest nothing of the data is signed";
        for (std::size_t at = 0; at < signature->size(); at += 37) {
            std::string flipped(signature->view());
            flipped[at] = static_cast<char>(flipped[at] ^ 1);
            EXPECT_FALSE(rsa().verifyDataWithPublicKey(data, Bytes(flipped))) << padding << ' ' << at;
            EXPECT_FALSE(rsa().verifyDataWithPublicKey(data, Bytes(signature->data(), at)));
        }
        rsa().setPadding(padding == 0x8006U ? 0x8004U : 0x8006U);
        EXPECT_FALSE(rsa().verifyDataWithPublicKey(data, *signature)) << padding;
    }
    rsa().setPadding(AFRSA::PaddingPKCS1SHA1);
}

TEST(AFRSA, MakesKeysOfSaneSizes)
{
    EXPECT_TRUE(rsa().generateKeys(1024));
    for (const unsigned bits : {0U, 512U, 1023U, 4097U, 1'000'000U, 0xffffffffU})
        EXPECT_FALSE(rsa().generateKeys(bits)) << bits;
    EXPECT_EQ(rsa().publicKey()->blockSize(), 128U) << "as they were";
}

TEST(AFRSA, BadFilesLeaveBothKeysNull)
{
    const Bytes good = test::makeIdentity({.bits = 1024});
    const struct
    {
        const char *name;
        Bytes file;
        QString secret;
    } rows[] = {
        {"wrong password", good, u"wrong"_s},
        {"no password", good, QString()},
        {"password and more", good, password + QChar(0) + u"tail"_s},
        {"expired", test::makeIdentity({.bits = 1024, .notAfter = -1}), password},
        {"not yet valid", test::makeIdentity({.bits = 1024, .notBefore = 60}), password},
        {"no key", test::makeIdentity({.hasKey = false}), password},
        {"damaged key", test::makeIdentity({.bits = 1024, .isKeyDamaged = true}), password},
        {"no file", Bytes(), password},
    };
    for (const auto &[name, file, secret] : rows) {
        EXPECT_TRUE(rsa().keysFromData(good, password));
        EXPECT_TRUE(rsa().publicKey() && rsa().privateKey());
        EXPECT_FALSE(rsa().keysFromData(file, secret)) << name;
        EXPECT_FALSE(rsa().publicKey() || rsa().privateKey()) << name;
    }
    EXPECT_TRUE(rsa().keysFromData(good, password));
    EXPECT_FALSE(rsa().keysFromPersonalInformationExchangeFile(u"/nowhere.pfx"_s, password));
    EXPECT_FALSE(rsa().publicKey());
    EXPECT_FALSE(rsa().signDataWithPrivateKey(good));
}

TEST(AFRSA, RemembersTheTrustOnlyUntilItEnds)
{
    const Bytes file = test::makeIdentity({.bits = 1024, .notAfter = 2});
    ASSERT_TRUE(rsa().keysFromData(file, password));
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < 100; ++i)
        EXPECT_TRUE(rsa().keysFromData(file, password));
    EXPECT_LT(timer.elapsed(), 100) << "imported again each time";
    std::this_thread::sleep_for(std::chrono::milliseconds(2100));
    EXPECT_FALSE(rsa().keysFromData(file, password));
    EXPECT_FALSE(rsa().publicKey());
}

TEST(AFRSA, PublicKeyOfACertificate)
{
    EXPECT_EQ(rsa().publicKeyFromDERData(test::makeCertificate(1024))->blockSize(), 128U);
    EXPECT_FALSE(rsa().publicKeyFromDERData(Bytes(std::string_view("none"))));
}

} // namespace kelpay

#include "TestIdentity.h"

#include "security/AFRSA.h"
#include "security/BlockCipher.h"
#include "security/OpenSsl.h"
#include "security/Pkcs12Item.h"
#include "security/Random.h"
#include "security/toolbox/PPRSA.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>

#include <ctime>
#include <functional>
#include <thread>

namespace kelpay {

using namespace Qt::StringLiterals;
using test::IdentityRecipe;

namespace {

using test::password;

AFRSA &rsa()
{
    return AFRSA::sharedAFRSA();
}

// A file among the host's resources for as long as this lives.
class HostResource
{
public:
    HostResource(const QString &name, const Bytes &content)
        : m_file(QCoreApplication::applicationDirPath() + u'/' + name)
    {
        EXPECT_TRUE(m_file.open(QIODevice::WriteOnly));
        m_file.write(content.toByteArray());
        m_file.close();
    }
    HostResource(const HostResource &) = delete;
    HostResource &operator=(const HostResource &) = delete;
    ~HostResource() { m_file.remove(); }

private:
    QFile m_file;
};

QString failureOf(const std::function<bool(Error *)> &call)
{
    Error error;
    EXPECT_FALSE(call(&error));
    EXPECT_FALSE(call(nullptr));
    EXPECT_EQ(error.domain, u"PPRSAErrorDomain"_s);
    EXPECT_EQ(error.code, 0);
    return error.localizedDescription;
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
        EXPECT_FALSE(rsa().doCipherWithData(*cipher, rsa().publicKey(), CipherDecrypt)) << "no private half";
    }
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

TEST(Pkcs12Item, ImportsEachEncryption)
{
    using Encryption = IdentityRecipe::Encryption;
    for (const auto encryption : {Encryption::Aes256, Encryption::TripleDes, Encryption::Rc2AndTripleDes}) {
        for (const bool hasIssuers : {false, true}) {
            const Bytes file = test::makeIdentity({.bits = 1024, .encryption = encryption, .hasIssuers = hasIssuers});
            const auto [status, item] = Pkcs12Item::import(file, password);
            EXPECT_EQ(status, 0);
            ASSERT_TRUE(item);
            EXPECT_EQ(item->publicKey().toPKCS1(KeyRef::Half::Public),
                      item->privateKey().toPKCS1(KeyRef::Half::Public));
            EXPECT_TRUE(item->isTrusted(std::time(nullptr)));
            EXPECT_FALSE(item->isTrusted(std::time(nullptr) + 7200));
            EXPECT_EQ(Pkcs12Item::import(file, u"wrong"_s).status, -25293);
        }
    }
    // The host's context is as it was: without the legacy provider, and with the default one to be had.
    EXPECT_EQ(OSSL_PROVIDER_available(nullptr, "legacy"), 0);
    EVP_CIPHER *cipher = EVP_CIPHER_fetch(nullptr, "AES-256-CBC", nullptr);
    EXPECT_NE(cipher, nullptr);
    EVP_CIPHER_free(cipher);
}

TEST(Pkcs12Item, RefusesToCountForLong)
{
    using Rounds = IdentityRecipe::Rounds;
    for (const auto of : {Rounds::Mac, Rounds::Safe, Rounds::Key, Rounds::HiddenKey}) {
        QElapsedTimer timer;
        timer.start();
        EXPECT_EQ(Pkcs12Item::import(test::makeIdentity({.bits = 1024, .endless = of}), password).status, -26275);
        EXPECT_LT(timer.elapsed(), 3000) << static_cast<int>(of);
    }
    EXPECT_TRUE(Pkcs12Item::import(test::makeIdentity({.bits = 1024, .rounds = 600'000}), password).item);
}

TEST(Pkcs12Item, TellsWhatIsMissing)
{
    EXPECT_EQ(Pkcs12Item::import(Bytes(), password).status, -26275);
    EXPECT_EQ(Pkcs12Item::import(Bytes(std::string_view("no file")), password).status, -26275);
    EXPECT_EQ(Pkcs12Item::import(test::makeIdentity({.bits = 1024, .isKeyDamaged = true}), password).status, -26275);
    const auto [status, item] = Pkcs12Item::import(test::makeIdentity({.hasKey = false}), password);
    EXPECT_EQ(status, 0);
    EXPECT_FALSE(item);
    EXPECT_TRUE(Pkcs12Item::import(test::makeIdentity({.bits = 1024, .password = ""}), QString()).item);
    EXPECT_TRUE(Pkcs12Item::import(test::makeIdentity({.bits = 1024, .password = "رمز"}), u"رمز"_s).item);
}

TEST(Pkcs12Item, PeriodEndsAtTheNextBoundary)
{
    const auto item =
        *Pkcs12Item::import(test::makeIdentity({.bits = 1024, .notBefore = -100, .notAfter = 100}), password).item;
    const std::time_t now = std::time(nullptr);
    const auto valid = item.unchangedAround(now);
    EXPECT_NEAR(static_cast<double>(valid.from - now), -100, 5);
    EXPECT_NEAR(static_cast<double>(valid.until - now), 100, 5);
    EXPECT_TRUE(item.isTrusted(valid.from) && item.isTrusted(valid.until - 1));
    EXPECT_FALSE(item.isTrusted(valid.from - 1));
    EXPECT_EQ(item.unchangedAround(valid.from - 1).until, valid.from);
    EXPECT_GE(item.unchangedAround(valid.until).from, valid.until);
}

TEST(Pkcs12Item, SurvivesEveryCutAndFlip)
{
    const Bytes file = test::makeIdentity({.bits = 512, .encryption = IdentityRecipe::Encryption::TripleDes});
    for (std::size_t size = 0; size < file.size(); ++size)
        EXPECT_FALSE(Pkcs12Item::import(Bytes(file.data(), size), password).item) << size;
    for (std::size_t at = 0; at < file.size(); ++at) {
        std::string flipped(file.view());
        flipped[at] = static_cast<char>(flipped[at] ^ (1 << at % 8));
        // What isn't refused, because it is no part of what is authenticated, must be usable.
        if (const auto item = Pkcs12Item::import(Bytes(flipped), password).item)
            item->isTrusted(std::time(nullptr));
    }
}

TEST(PPRSA, EncryptsOneBlockAndDecryptsToAWholeOne)
{
    const HostResource certificate(u"host.cer"_s, test::makeCertificate());
    const HostResource identity(u"host.p12"_s, test::makeIdentity({.password = "secret"}));
    PPRSA rsa;
    EXPECT_TRUE(rsa.loadPublicKeyFromBundledCertificate(u"host"_s));
    EXPECT_TRUE(rsa.loadPrivateKeyFromBundledP12(u"host"_s, u"secret"_s));
    ASSERT_TRUE(rsa.hasPublicKey() && rsa.hasPrivateKey());
    EXPECT_EQ(rsa.encryptData(Bytes(std::string(245, 'x')))->size(), 256U);
    EXPECT_EQ(failureOf([&](Error *e) { return rsa.encryptData(Bytes(std::string(246, 'x')), e).has_value(); }),
              u"Too much data, cannot encrypt. Max 245 byte, have 246"_s);
    EXPECT_EQ(failureOf([&](Error *e) { return rsa.decryptData(Bytes(std::string(256, '\xff')), e).has_value(); }),
              u"Failed to decrypt data: invalid encryption"_s);

    const Bytes sealed = *rsa.privateKey()->encrypt(Bytes(std::string_view("text")));
    EXPECT_EQ(rsa.decryptData(sealed), Bytes("text" + std::string(252, '\0')));
}

} // namespace kelpay

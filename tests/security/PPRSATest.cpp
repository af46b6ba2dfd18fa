#include "TestIdentity.h"

#include "security/Hex.h"
#include "security/PPRSA.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QFile>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

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

template <typename Call> QString failureOf(const Call &call)
{
    Error error;
    EXPECT_FALSE(call(&error));
    EXPECT_FALSE(call(nullptr));
    EXPECT_EQ(error.domain, u"PPRSAErrorDomain"_s);
    EXPECT_EQ(error.code, 0);
    return error.localizedDescription;
}

} // namespace

TEST(PPRSA, SaysWhatFailed)
{
    PPRSA rsa;
    const Bytes garbage(std::string_view("garbage"));
    const Bytes file = test::makeIdentity({.bits = 1024, .password = "secret"});
    const auto text = [](const auto &call) { return failureOf(call); };
    EXPECT_EQ(text([&](Error *e) { return rsa.encryptData(garbage, e); }),
              u"No public key has been loaded, cannot encrypt"_s);
    EXPECT_EQ(text([&](Error *e) { return rsa.decryptData(garbage, e); }),
              u"No private key has been loaded, cannot decrypt"_s);
    EXPECT_EQ(text([&](Error *e) { return rsa.loadPublicKeyFromBundledCertificate(u"none"_s, e); }),
              u"Bundled certificate named «none.crt» not found"_s);
    EXPECT_EQ(text([&](Error *e) { return rsa.loadPrivateKeyFromBundledP12(u"none"_s, u"x"_s, e); }),
              u"Bundled private key file named «none.p12» not found"_s);
    EXPECT_EQ(text([&](Error *e) { return rsa.publicKeyFromData(garbage, e); }), u"Failed to create certificate"_s);
    EXPECT_EQ(text([&](Error *e) { return rsa.loadPrivateKeyFromP12Data(file, u"wrong"_s, e); }),
              u"Failed to import P12 data: wrong password"_s);
    EXPECT_EQ(text([&](Error *e) { return rsa.loadPrivateKeyFromP12Data(garbage, u"x"_s, e); }),
              u"Failed to import P12 data: Error code -26275"_s);
    const Bytes keyless = test::makeIdentity({.password = "secret", .hasKey = false});
    EXPECT_EQ(text([&](Error *e) { return rsa.privateKeyFromData(keyless, u"secret"_s, e); }),
              u"Failed to copy private key: Error code -25300"_s);
    EXPECT_EQ(PPRSA::errorMessageForCode(0, u"Failed to import P12 data"_s),
              u"Failed to import P12 data: Error code 0"_s);
    EXPECT_FALSE(rsa.hasPublicKey() || rsa.hasPrivateKey());
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
    EXPECT_EQ(failureOf([&](Error *e) { return rsa.encryptData(Bytes(std::string(246, 'x')), e); }),
              u"Too much data, cannot encrypt. Max 245 byte, have 246"_s);

    const auto block = rsa.privateKeyFromData(test::makeIdentity({.password = "secret"}), u"secret"_s);
    ASSERT_TRUE(block);
    EXPECT_EQ(failureOf([&](Error *e) { return rsa.decryptData(Bytes(std::string(256, '\xff')), e); }),
              u"Failed to decrypt data: invalid encryption"_s);
}

TEST(PPRSA, DecryptedBlockIsFilledWithZeros)
{
    PPRSA rsa;
    const Bytes file = test::makeIdentity({.password = "secret"});
    ASSERT_TRUE(rsa.loadPrivateKeyFromP12Data(file, u"secret"_s));
    const auto key = *rsa.privateKeyFromData(file, u"secret"_s);
    EXPECT_EQ(rsa.decryptData(*key.encrypt(Bytes(std::string_view("text")))), Bytes("text" + std::string(252, '\0')));
}

TEST(PPRSA, RandomStringsStayInTheAlphabet)
{
    const QString alphabet = u"abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXZY0123456789@%#$^_.*-+/="_s;
    EXPECT_EQ(PPRSA::randomStringOfLength(0), QString());
    const QString text = PPRSA::randomStringOfLength(20'000);
    EXPECT_EQ(text.size(), 20'000);
    for (const QChar c : alphabet)
        EXPECT_GT(text.count(c), 100) << int(c.unicode());
    for (const QChar c : text)
        ASSERT_TRUE(alphabet.contains(c));
}

} // namespace kelpay

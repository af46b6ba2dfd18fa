#include "TestIdentity.h"

#include "security/toolbox/Hex.h"
#include "security/toolbox/PPRSA.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QFile>

#include <functional>

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

TEST(PPRSA, SaysWhatFailed)
{
    PPRSA rsa;
    const Bytes garbage(std::string_view("garbage"));
    const Bytes good = test::makeIdentity({.bits = 1024, .password = "secret"});
    const Bytes keyless = test::makeIdentity({.password = "secret", .hasKey = false});
    const Bytes damaged = test::makeIdentity({.bits = 1024, .password = "secret", .isKeyDamaged = true});
    const struct
    {
        std::function<bool(Error *)> call;
        QString text;
    } rows[] = {
        {[&](Error *e) { return rsa.encryptData(garbage, e).has_value(); },
         u"No public key has been loaded, cannot encrypt"_s},
        {[&](Error *e) { return rsa.decryptData(garbage, e).has_value(); },
         u"No private key has been loaded, cannot decrypt"_s},
        {[&](Error *e) { return rsa.loadPublicKeyFromBundledCertificate(u"none"_s, e); },
         u"Bundled certificate named «none.crt» not found"_s},
        {[&](Error *e) { return rsa.loadPrivateKeyFromBundledP12(u"none"_s, u"x"_s, e); },
         u"Bundled private key file named «none.p12» not found"_s},
        {[&](Error *e) { return rsa.publicKeyFromData(garbage, e).has_value(); }, u"Failed to create certificate"_s},
        {[&](Error *e) { return rsa.loadPrivateKeyFromP12Data(good, u"wrong"_s, e); },
         u"Failed to import P12 data: wrong password"_s},
        {[&](Error *e) { return rsa.loadPrivateKeyFromP12Data(garbage, u"x"_s, e); },
         u"Failed to import P12 data: Error code -26275"_s},
        {[&](Error *e) { return rsa.loadPrivateKeyFromP12Data(damaged, u"secret"_s, e); },
         u"Failed to import P12 data: Error code -26275"_s},
        {[&](Error *e) { return rsa.loadPrivateKeyFromP12Data(keyless, u"secret"_s, e); },
         u"Failed to import P12 data: Error code 0"_s},
    };
    for (const auto &[call, text] : rows)
        EXPECT_EQ(failureOf(call), text);
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
    EXPECT_EQ(failureOf([&](Error *e) { return rsa.encryptData(Bytes(std::string(246, 'x')), e).has_value(); }),
              u"Too much data, cannot encrypt. Max 245 byte, have 246"_s);
    EXPECT_EQ(failureOf([&](Error *e) { return rsa.decryptData(Bytes(std::string(256, '\xff')), e).has_value(); }),
              u"Failed to decrypt data: invalid encryption"_s);

    const Bytes sealed = *rsa.privateKey()->encrypt(Bytes(std::string_view("text")));
    EXPECT_EQ(rsa.decryptData(sealed), Bytes("text" + std::string(252, '\0')));
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

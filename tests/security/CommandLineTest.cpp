#include "TestIdentity.h"

#include "security/AFAES.h"
#include "security/AFRSA.h"
#include "security/Base64.h"
#include "security/CoreSecurity.h"
#include "security/toolbox/Hex.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

using test::password;

// What the openssl command says of files in a folder of its own.
class CommandLineTest : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!openssl(u"version"_s))
            GTEST_SKIP() << "no openssl command";
    }

    std::optional<QByteArray> openssl(const QString &arguments) const
    {
        QProcess process;
        process.setWorkingDirectory(folder.path());
        process.start(u"openssl"_s, arguments.split(u' '));
        if (!process.waitForFinished(20'000) || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
            return std::nullopt;
        return process.readAllStandardOutput();
    }

    void write(const QString &name, const Bytes &content) const
    {
        QFile file(folder.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content.toByteArray());
    }

    Bytes read(const QString &name) const
    {
        QFile file(folder.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return Bytes::fromByteArray(file.readAll());
    }

    void makeFile(const QString &options) const
    {
        ASSERT_TRUE(openssl(u"req -x509 -newkey rsa:2048 -nodes -keyout key.pem -out cert.pem -subj /CN=x -days 1"_s));
        ASSERT_TRUE(openssl(
            u"pkcs12 -export -inkey key.pem -in cert.pem -out file.pfx -passout pass:%1 %2"_s.arg(password, options)));
    }

    QTemporaryDir folder;
};

} // namespace

class CertificateFile : public CommandLineTest, public testing::WithParamInterface<const char *>
{
};

TEST_P(CertificateFile, SealsWhatItOpensAndOpensWhatItSeals)
{
    makeFile(QString::fromLatin1(GetParam()));
    const test::InstalledIdentity identity(read(u"file.pfx"_s));
    UserDefaults defaults{QString()};
    const CoreSecurity security(defaults);
    const QString envelope = security.encryptRequest({{u"amount"_s, 1000}, {u"text"_s, QString(200, u'x')}});
    const qsizetype hash = envelope.indexOf(u'#');
    write(u"key.bin"_s, *decodeBase64(QStringView(envelope).mid(1, hash - 1), UnknownCharacters::Refuse));
    write(u"text.b64"_s, Bytes::fromText(envelope.mid(hash + 1, envelope.size() - hash - 2)));

    const auto key = openssl(u"pkeyutl -decrypt -inkey key.pem -in key.bin"_s);
    ASSERT_TRUE(key);
    const QString keyHex = QString::fromLatin1(key->toHex());
    const QString ivHex = *encodeToHexString(*AFAES::sharedAFAES().iv());
    const auto plain = openssl(u"enc -d -a -aes-256-cbc -K %1 -iv %2 -in text.b64"_s.arg(keyHex, ivHex));
    ASSERT_TRUE(plain);
    EXPECT_EQ(plain->first(16), QByteArray::fromHex(ivHex.toLatin1()));
    EXPECT_EQ(plain->mid(16), "{\"amount\":1000,\"text\":\"" + QByteArray(200, 'x') + "\"}");

    write(u"answer"_s, Bytes(std::string_view("{\"rc\":0}")));
    const auto answer = openssl(u"enc -a -A -aes-256-ecb -K %1 -in answer"_s.arg(keyHex));
    ASSERT_TRUE(answer);
    EXPECT_EQ(security.decryptRequest(QString::fromLatin1(*answer)), read(u"answer"_s));
}

INSTANTIATE_TEST_SUITE_P(CommandLine, CertificateFile,
                         testing::Values("-legacy", "-keypbe PBE-SHA1-3DES -certpbe PBE-SHA1-3DES -macalg sha1",
                                         "-keypbe AES-256-CBC -certpbe AES-256-CBC"));

TEST_F(CommandLineTest, SignaturesHoldInBothDirections)
{
    makeFile(u"-legacy"_s);
    auto &rsa = AFRSA::sharedAFRSA();
    ASSERT_TRUE(rsa.keysFromData(read(u"file.pfx"_s), password));
    const Bytes data(std::string_view("what is signed"));
    write(u"data"_s, data);
    ASSERT_TRUE(openssl(u"rsa -in key.pem -pubout -out pub.pem"_s));
    std::uint32_t padding = AFRSA::PaddingPKCS1SHA1;
    for (const QString &digest : {u"sha1"_s, u"sha224"_s, u"sha256"_s, u"sha384"_s, u"sha512"_s}) {
        rsa.setPadding(padding++);
        write(u"ours"_s, *rsa.signDataWithPrivateKey(data));
        EXPECT_TRUE(openssl(u"dgst -%1 -verify pub.pem -signature ours data"_s.arg(digest))) << padding;
        ASSERT_TRUE(openssl(u"dgst -%1 -sign key.pem -out theirs data"_s.arg(digest)));
        EXPECT_TRUE(rsa.verifyDataWithPublicKey(data, read(u"theirs"_s))) << padding;
    }
    rsa.setPadding(AFRSA::PaddingPKCS1SHA1);
}

} // namespace kelpay

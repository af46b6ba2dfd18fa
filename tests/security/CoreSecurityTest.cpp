#include "TestIdentity.h"

#include "security/AFAES.h"
#include "security/AFRSA.h"
#include "security/Base64.h"
#include "security/BlockCipher.h"
#include "security/CoreSecurity.h"

#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonDocument>

namespace kelpay {

using namespace Qt::StringLiterals;
using test::IdentityRecipe;
using test::InstalledIdentity;

namespace {

const QString latestKey = u"latest_key"_s;

QJsonObject request()
{
    return {
        {u"mid"_s, u"10024518"_s},
        {u"trace"_s, 42},
        {u"amount"_s, 1250000},
        {u"text"_s, u"سلام \"x\" \\ \n \u0001 😀"_s},
        {u"nested"_s, QJsonObject{{u"list"_s, QJsonArray{1, 2.5, true, QJsonValue::Null, qint64{9007199254740993}}}}}};
}

struct Parts
{
    QString key;
    QString text;
};

// The two texts of an envelope, after a check of everything around them.
Parts split(const QString &envelope)
{
    EXPECT_TRUE(envelope.startsWith(u'\''));
    EXPECT_TRUE(envelope.endsWith(u"\n'"_s));
    EXPECT_EQ(envelope.count(u'#'), 1);
    const auto hash = envelope.indexOf(u'#');
    return {envelope.mid(1, hash - 1), envelope.mid(hash + 1, envelope.size() - hash - 3)};
}

Bytes base64(const QString &text)
{
    return decodeBase64(QStringView(text), UnknownCharacters::Ignore).value_or(Bytes());
}

class CoreSecurityTest : public testing::Test
{
protected:
    // The service's side of an exchange.
    std::optional<Bytes> opened(const QString &envelope) const
    {
        const auto [keyText, text] = split(envelope);
        const auto key = AFRSA::sharedAFRSA().decryptDataWithPrivateKey(base64(keyText));
        if (!key)
            return std::nullopt;
        EXPECT_EQ(base64EncodedString(*key), defaults.string(latestKey));
        EXPECT_EQ(key->size(), 32U);
        const auto plain =
            doBlockCipherWithAlgorithm(base64(text), CipherAES, key, AFAES::sharedAFAES().iv(), CipherDecrypt, true);
        if (!plain || plain->size() < 16)
            return std::nullopt;
        EXPECT_EQ(Bytes(plain->data(), 16), AFAES::sharedAFAES().iv());
        return Bytes(plain->data() + 16, plain->size() - 16);
    }

    QString answer(std::string_view text) const
    {
        const auto key = base64(defaults.string(latestKey).value_or(QString()));
        return *base64EncodedString(
            *doBlockCipherWithAlgorithm(Bytes(text), CipherAES, key, std::nullopt, CipherEncrypt, true, true));
    }

    UserDefaults defaults{QString()};
    CoreSecurity security{defaults};
};

} // namespace

TEST_F(CoreSecurityTest, SealsWhatTheServiceOpens)
{
    const InstalledIdentity identity(test::makeIdentity());
    const auto first = opened(security.encryptRequest(request()));
    ASSERT_TRUE(first);
    EXPECT_EQ(first->toByteArray(), QJsonDocument(request()).toJson(QJsonDocument::Compact));
    const QString before = *defaults.string(latestKey);
    ASSERT_TRUE(opened(security.encryptRequest(request())));
    EXPECT_NE(defaults.string(latestKey), before);
}

TEST_F(CoreSecurityTest, BreaksLinesAsTheServiceReadsThem)
{
    const InstalledIdentity identity(test::makeIdentity());
    for (qsizetype size = 0; size < 260; ++size) {
        const QJsonObject object{{u"t"_s, QString(size, u'x')}};
        const QString text = split(security.encryptRequest(object)).text;
        const QStringList lines = text.split(u"\r\n"_s);
        const auto cipherSize = (16 + size + 8) / 16 * 16 + 16;
        EXPECT_EQ(base64(text).size(), static_cast<std::size_t>(cipherSize));
        for (const QString &line : lines.first(lines.size() - 1))
            EXPECT_EQ(line.size(), 76);
        EXPECT_GT(lines.last().size(), 0);
        EXPECT_LE(lines.last().size(), 76);
        EXPECT_EQ(text.count(u'\n'), lines.size() - 1);
    }
}

TEST_F(CoreSecurityTest, OpensAnswersUnderTheLatestKeyOnly)
{
    const InstalledIdentity identity(test::makeIdentity());
    EXPECT_FALSE(security.decryptRequest(u"AAAAAAAAAAAAAAAAAAAAAA=="_s)) << "no key yet";
    security.encryptRequest(request());
    const QString text = answer(R"({"rc":0})");
    EXPECT_EQ(security.decryptRequest(text), Bytes(std::string_view(R"({"rc":0})")));
    EXPECT_EQ(CoreSecurity(defaults).decryptRequest(text), Bytes(std::string_view(R"({"rc":0})")));

    for (const QString &bad :
         {QString(), text + u'\n', text.left(4) + u"\r\n"_s + text.mid(4), text.chopped(1), text.chopped(4),
          u' ' + text, text.left(8) + u'é' + text.mid(9), text.left(8) + QChar(0x141) + text.mid(9)})
        EXPECT_FALSE(security.decryptRequest(bad)) << bad.size();

    security.encryptRequest(request());
    EXPECT_NE(security.decryptRequest(text), Bytes(std::string_view(R"({"rc":0})")));
}

TEST_F(CoreSecurityTest, ShowsNullForWhatFailed)
{
    const InstalledIdentity identity(test::makeIdentity({.password = "another"}));
    AFRSA::sharedAFRSA().generateKeys();
    const auto sealedKey = [&] { return split(security.encryptRequest(request())).key; };
    EXPECT_EQ(sealedKey(), u"(null)"_s) << "wrong password";
    identity.replace(Bytes(std::string_view("no certificate")));
    EXPECT_EQ(sealedKey(), u"(null)"_s) << "no certificate";
    identity.remove();
    EXPECT_EQ(sealedKey(), u"(null)"_s) << "no file";
    EXPECT_EQ(base64(defaults.string(latestKey).value_or(QString())).size(), 32U);
}

TEST_F(CoreSecurityTest, ReplacedFileTakesEffectOnTheNextRequest)
{
    const InstalledIdentity identity(test::makeIdentity({.bits = 1024}));
    ASSERT_TRUE(opened(security.encryptRequest(request())));
    identity.replace(test::makeIdentity({.encryption = IdentityRecipe::Encryption::Rc2AndTripleDes}));
    ASSERT_TRUE(opened(security.encryptRequest(request())));
    // Whatever others did to the keys in between.
    AFRSA::sharedAFRSA().generateKeys();
    ASSERT_TRUE(opened(security.encryptRequest(request())));
    EXPECT_EQ(AFRSA::sharedAFRSA().publicKey()->blockSize(), 256U);
}

} // namespace kelpay

#include "security/keychain/CoreKeychain.h"

#include "security/keychain/SecItem.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QTranslator>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

class CoreKeychainTest : public testing::Test
{
protected:
    void SetUp() override { store.clearAll(); }

    CoreKeychain store{u"test service"_s};
    const QString key = u"msisdn"_s;
};

// The host's translation while it lives.
class Persian : public QTranslator
{
public:
    Persian() { QCoreApplication::installTranslator(this); }
    QString translate(const char *context, const char *text, const char *, int) const override
    {
        return QLatin1String(context) == u"CoreKeychain"_s ? u"ترجمه "_s + QLatin1String(text) : QString();
    }
    bool isEmpty() const override { return false; }
};

} // namespace

TEST_F(CoreKeychainTest, KeepsUpdatesAndDeletes)
{
    EXPECT_FALSE(store.stringForKey(key));
    EXPECT_FALSE(store.hasValueForKey(key));
    for (const QString &text : {u"09121234567"_s, u"۰۹۱۲ متن"_s, u"\uFEFFmark"_s, u""_s, QString(5000, u'x')}) {
        EXPECT_TRUE(store.setString(text, key));
        EXPECT_EQ(CoreKeychain(u"test service"_s).stringForKey(key), text);
        EXPECT_FALSE(store.stringForKey(key)->isNull());
        EXPECT_TRUE(store.hasValueForKey(key));
    }
    const Bytes binary(std::string_view("\0\xff\x80", 3));
    EXPECT_TRUE(store.setData(binary, key));
    EXPECT_EQ(store.dataForKey(key), binary);
    EXPECT_FALSE(store.stringForKey(key)) << "no UTF-8";
    EXPECT_TRUE(store.deleteEntryForKey(key));
    EXPECT_FALSE(store.deleteEntryForKey(key));
    EXPECT_FALSE(store.hasValueForKey(key));
}

TEST_F(CoreKeychainTest, SaysWhyNothingWasFound)
{
    Error error;
    EXPECT_FALSE(store.dataForKey(key, std::nullopt, &error));
    EXPECT_EQ(error.domain, CoreKeychain::ErrorDomain);
    EXPECT_EQ(error.code, -25300);
    EXPECT_EQ(error.localizedDescription, u"errSecItemNotFound: The item cannot be found"_s);
    EXPECT_EQ(CoreKeychain::stringForSecStatus(-1), u"Unknown error code -1"_s);
    const Persian persian;
    EXPECT_EQ(CoreKeychain::stringForSecStatus(0), u"ترجمه errSecSuccess: No error"_s);
    EXPECT_EQ(CoreKeychain::stringForSecStatus(7), u"ترجمه Unknown error code 7"_s);
}

TEST_F(CoreKeychainTest, NullStringDeletesOrAddsAnItemWithoutData)
{
    const QString none;
    for (const std::optional<QString> &nothing : {std::optional<QString>(), std::optional(none)}) {
        EXPECT_TRUE(store.setString(nothing, key));
        EXPECT_TRUE(store.hasValueForKey(key));
        EXPECT_FALSE(store.dataForKey(key)) << "no value, other than an empty one";
        EXPECT_TRUE(store.setString(nothing, key));
        EXPECT_FALSE(store.hasValueForKey(key));
    }
    EXPECT_FALSE(store.setString(u"x"_s, none));
    EXPECT_FALSE(store.deleteEntryForKey(none));
    EXPECT_FALSE(store.hasValueForKey(none));
    EXPECT_FALSE(store.dataForKey(none));
}

TEST_F(CoreKeychainTest, ServicesAndGroupsAreApart)
{
    const CoreKeychain other(u"other service"_s);
    const CoreKeychain one(u"test service"_s, u"one"_s);
    const CoreKeychain two(u"test service"_s, u"two"_s);
    for (const auto &[keychain, text] : {std::pair(&other, u"other"_s), {&one, u"1"_s}, {&two, u"2"_s}})
        ASSERT_TRUE(keychain->setString(text, key));
    EXPECT_EQ(two.stringForKey(key), u"2"_s);
    EXPECT_EQ(store.stringForKey(key), u"1"_s) << "a store without a group finds those of all groups";
    two.clearAll();
    EXPECT_FALSE(two.hasValueForKey(key));
    EXPECT_TRUE(one.hasValueForKey(key));
    store.clearAll();
    EXPECT_FALSE(one.hasValueForKey(key));
    EXPECT_EQ(other.stringForKey(key), u"other"_s);
    other.clearAll();
    other.clearAll();
    EXPECT_FALSE(other.hasValueForKey(key));
}

TEST_F(CoreKeychainTest, AccessibilityIsKeptWithTheItem)
{
    const QStringList names = u"WhenUnlocked AfterFirstUnlock Always WhenPasscodeSetThisDeviceOnly "
                              "WhenUnlockedThisDeviceOnly AfterFirstUnlockThisDeviceOnly AlwaysThisDeviceOnly "
                              "WhenUnlockedThisDeviceOnly"_s.split(u' ');
    const auto stored = [this] {
        QVariant all;
        secItemCopyMatching(store.queryFindAll(), &all);
        EXPECT_EQ(all.toList().size(), 1);
        return all.toList().value(0).toMap();
    };
    for (int code = 0; code < names.size(); ++code) {
        store.clearAll();
        store.setDefaultAccessiblity(code);
        ASSERT_TRUE(store.setString(u"x"_s, key));
        EXPECT_EQ(stored().value(u"kSecAttrAccessible"_s), u"kSecAttrAccessible"_s + names[code]);
    }
    // An update keeps what the item was made with; code 3 under access control makes it anew.
    store.setUseAccessControl(true);
    ASSERT_TRUE(store.setString(u"y"_s, key));
    EXPECT_TRUE(stored().contains(u"kSecAttrAccessible"_s));
    store.setDefaultAccessiblity(3);
    ASSERT_TRUE(store.setString(u"z"_s, key));
    EXPECT_FALSE(stored().contains(u"kSecAttrAccessible"_s));
    EXPECT_TRUE(stored().contains(u"kSecAttrAccessControl"_s));
    EXPECT_EQ(store.stringForKey(key, u"prompt"_s), u"z"_s);
    ASSERT_TRUE(store.setString(std::nullopt, key));
    EXPECT_TRUE(store.hasValueForKey(key)) << "deleted, then added without data";
}

TEST_F(CoreKeychainTest, RsaPairsPersistUnderTheirTags)
{
    const QString publicTag = u"public tag"_s;
    const QString privateTag = u"private tag"_s;
    while (store.deleteRSAKeyWithTag(publicTag) || store.deleteRSAKeyWithTag(privateTag)) {
    }
    EXPECT_FALSE(store.dataForRSAKeyWithTag(publicTag));
    EXPECT_FALSE(store.keyRefOfRSAKeyWithTag(publicTag));
    EXPECT_FALSE(store.generateRSAKeyPairWithLength(8, publicTag, privateTag)) << "too short";
    ASSERT_TRUE(store.generateRSAKeyPairWithLength(1024, publicTag, privateTag));
    EXPECT_TRUE(store.hasRSAKeyWithTag(publicTag) && store.hasRSAKeyWithTag(privateTag));

    const auto publicKey = store.keyRefOfRSAKeyWithTag(publicTag);
    const auto privateKey = store.keyRefOfRSAKeyWithTag(privateTag);
    ASSERT_TRUE(publicKey && privateKey);
    const Bytes text(std::string_view("text"));
    EXPECT_EQ(privateKey->decrypt(*publicKey->encrypt(text)), text);
    EXPECT_FALSE(publicKey->decrypt(*publicKey->encrypt(text))) << "a public key only";
    const auto der = store.dataForRSAKeyWithTag(publicTag);
    EXPECT_EQ(der, publicKey->toPKCS1(KeyRef::Half::Public));
    EXPECT_EQ(KeyRef::fromPKCS1(*der, KeyRef::Half::Public)->blockSize(), 128U);

    // A second pair under the same tags does not hide the first, and neither is a password.
    ASSERT_TRUE(store.generateRSAKeyPairWithLength(1024, publicTag, privateTag));
    EXPECT_EQ(store.keyRefOfRSAKeyWithTag(privateTag)->toPKCS1(KeyRef::Half::Private),
              privateKey->toPKCS1(KeyRef::Half::Private));
    store.clearAll();
    EXPECT_FALSE(store.hasValueForKey(publicTag));
    EXPECT_TRUE(store.deleteRSAKeyWithTag(publicTag));
    EXPECT_FALSE(store.hasRSAKeyWithTag(publicTag));
    EXPECT_TRUE(store.deleteRSAKeyWithTag(privateTag));
}

} // namespace kelpay

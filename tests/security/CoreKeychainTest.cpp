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

} // namespace

TEST_F(CoreKeychainTest, KeepsUpdatesAndDeletes)
{
    EXPECT_FALSE(store.string(key));
    EXPECT_FALSE(store.hasValue(key));
    for (const QString &text : {u"09121234567"_s, u"۰۹۱۲ متن"_s, u"\uFEFFmark"_s, u""_s, QString(5000, u'x')}) {
        EXPECT_TRUE(store.setString(text, key));
        EXPECT_EQ(CoreKeychain(u"test service"_s).string(key), text);
        EXPECT_FALSE(store.string(key)->isNull());
        EXPECT_TRUE(store.hasValue(key));
    }
    const Bytes binary(std::string_view("\0\xff\x80", 3));
    EXPECT_TRUE(store.setData(binary, key));
    EXPECT_EQ(store.data(key), binary);
    EXPECT_FALSE(store.string(key)) << "no UTF-8";
    EXPECT_TRUE(store.deleteEntry(key));
    EXPECT_FALSE(store.deleteEntry(key));
    EXPECT_FALSE(store.hasValue(key));
}

TEST_F(CoreKeychainTest, SaysWhyNothingWasFound)
{
    Error error;
    EXPECT_FALSE(store.data(key, std::nullopt, &error));
    EXPECT_EQ(error.domain, CoreKeychain::ErrorDomain);
    EXPECT_EQ(error.code, -25300);
    EXPECT_EQ(error.localizedDescription, u"errSecItemNotFound: The item cannot be found"_s);
    EXPECT_EQ(CoreKeychain::stringForSecStatus(-1), u"Unknown error code -1"_s);
    EXPECT_EQ(CoreKeychain::stringForSecStatus(-26275), u"errSecDecode: Unable to decode the provided data"_s);
}

TEST_F(CoreKeychainTest, NullStringDeletesOrAddsAnItemWithoutData)
{
    const QString none;
    for (const std::optional<QString> &nothing : {std::optional<QString>(), std::optional(none)}) {
        EXPECT_TRUE(store.setString(nothing, key));
        EXPECT_TRUE(store.hasValue(key));
        EXPECT_FALSE(store.data(key)) << "no value, other than an empty one";
        EXPECT_TRUE(store.setString(nothing, key));
        EXPECT_FALSE(store.hasValue(key));
    }
    EXPECT_FALSE(store.setString(u"x"_s, none));
    EXPECT_FALSE(store.deleteEntry(none));
    EXPECT_FALSE(store.hasValue(none));
    EXPECT_FALSE(store.data(none));
}

TEST_F(CoreKeychainTest, ServicesAndGroupsAreApart)
{
    const CoreKeychain other(u"other service"_s);
    const CoreKeychain one(u"test service"_s, u"one"_s);
    const CoreKeychain two(u"test service"_s, u"two"_s);
    ASSERT_TRUE(other.setString(u"other"_s, key));
    ASSERT_TRUE(one.setString(u"1"_s, key));
    ASSERT_TRUE(two.setString(u"2"_s, key));
    ASSERT_TRUE(two.setString(u"22"_s, u"more"_s));
    EXPECT_EQ(one.string(key), u"1"_s);
    EXPECT_EQ(two.string(key), u"2"_s);
    EXPECT_EQ(store.string(key), u"1"_s) << "a store without a group finds those of all groups";
    two.clearAll();
    EXPECT_FALSE(two.hasValue(key));
    EXPECT_TRUE(one.hasValue(key));
    store.clearAll();
    EXPECT_FALSE(one.hasValue(key));
    EXPECT_EQ(other.string(key), u"other"_s);
    other.clearAll();
    other.clearAll();
    EXPECT_FALSE(other.hasValue(key));
}

TEST_F(CoreKeychainTest, QueriesAreWhatThePlatformWouldBeAsked)
{
    CoreKeychain grouped(u"s"_s, u"g"_s);
    const QVariantMap base{{u"kSecClass"_s, u"kSecClassGenericPassword"_s},
                           {u"kSecAttrService"_s, u"s"_s},
                           {u"kSecAttrAccessGroup"_s, u"g"_s}};
    const auto with = [&base](const QVariantMap &more) {
        QVariantMap all = base;
        all.insert(more);
        return all;
    };
    const QVariant data = QVariant::fromValue(Bytes(std::string_view("v")));
    const QString prompt = u"why"_s;
    EXPECT_EQ(grouped.baseQuery(), base);
    EXPECT_FALSE(store.baseQuery().contains(u"kSecAttrAccessGroup"_s));
    EXPECT_EQ(grouped.queryFindAll(),
              with({{u"kSecReturnAttributes"_s, true}, {u"kSecMatchLimit"_s, u"kSecMatchLimitAll"_s}}));
    EXPECT_EQ(grouped.queryFindByKey(key, {}), with({{u"kSecAttrAccount"_s, key}}));
    EXPECT_EQ(grouped.queryFindByKey(key, prompt),
              with({{u"kSecAttrAccount"_s, key}, {u"kSecUseOperationPrompt"_s, prompt}}));
    const QVariantMap fetch =
        with({{u"kSecReturnData"_s, true}, {u"kSecMatchLimit"_s, u"kSecMatchLimitOne"_s}, {u"kSecAttrAccount"_s, key}});
    EXPECT_EQ(grouped.queryFetchOneByKey(key, prompt), fetch) << "a prompt needs access control";
    EXPECT_EQ(grouped.queryUpdateValue(data.value<Bytes>(), {}).keys(), QStringList{u"kSecValueData"_s});
    EXPECT_EQ(grouped.queryNewKey(key, {}),
              with({{u"kSecAttrAccount"_s, key}, {u"kSecAttrAccessible"_s, u"kSecAttrAccessibleAfterFirstUnlock"_s}}));
    EXPECT_TRUE(grouped.queryNewKey(key, Bytes()).contains(u"kSecValueData"_s));

    grouped.setUseAccessControl(true);
    grouped.setDefaultAccessiblity(3);
    QVariantMap prompted = fetch;
    prompted.insert(u"kSecUseOperationPrompt"_s, prompt);
    EXPECT_EQ(grouped.queryFetchOneByKey(key, prompt), prompted);
    const QVariantMap fresh = grouped.queryNewKey(key, {});
    EXPECT_FALSE(fresh.contains(u"kSecAttrAccessible"_s));
    EXPECT_EQ(fresh.value(u"kSecAttrAccessControl"_s).toMap().value(u"protection"_s),
              u"kSecAttrAccessibleWhenPasscodeSetThisDeviceOnly"_s);
    EXPECT_TRUE(fresh.value(u"kSecUseNoAuthenticationUI"_s).toBool());

    EXPECT_TRUE(store.queryRSAKeyByTag(u"t"_s).contains(u"kSecAttrType"_s));
    EXPECT_TRUE(store.queryRSAKeyByTag(u"t"_s).value(u"kSecAttrApplicationTag"_s).canConvert<Bytes>());
    EXPECT_TRUE(store.queryRSAKeyRefByTag(u"t"_s).contains(u"kSecAttrKeyType"_s));
    EXPECT_EQ(store.queryRSAKeyRefByTag(u"t"_s).value(u"kSecAttrApplicationTag"_s), u"t"_s);
}

TEST_F(CoreKeychainTest, AccessibilityIsKeptWithTheItem)
{
    const QStringList names{u"WhenUnlocked"_s,
                            u"AfterFirstUnlock"_s,
                            u"Always"_s,
                            u"WhenPasscodeSetThisDeviceOnly"_s,
                            u"WhenUnlockedThisDeviceOnly"_s,
                            u"AfterFirstUnlockThisDeviceOnly"_s,
                            u"AlwaysThisDeviceOnly"_s,
                            u"WhenUnlockedThisDeviceOnly"_s};
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
    EXPECT_EQ(store.string(key, u"prompt"_s), u"z"_s);
    ASSERT_TRUE(store.setString(std::nullopt, key));
    EXPECT_TRUE(store.hasValue(key)) << "deleted, then added without data";
}

TEST_F(CoreKeychainTest, StatusTextsCanBeTranslated)
{
    class Persian : public QTranslator
    {
    public:
        QString translate(const char *context, const char *text, const char *, int) const override
        {
            return QLatin1String(context) == u"CoreKeychain"_s ? u"ترجمه "_s + QLatin1String(text) : QString();
        }
        bool isEmpty() const override { return false; }
    } persian;
    EXPECT_EQ(CoreKeychain::stringForSecStatus(-4), u"errSecUnimplemented: Function or operation not implemented"_s);
    QCoreApplication::installTranslator(&persian);
    EXPECT_EQ(CoreKeychain::stringForSecStatus(0), u"ترجمه errSecSuccess: No error"_s);
    EXPECT_EQ(CoreKeychain::stringForSecStatus(7), u"ترجمه Unknown error code 7"_s);
    QCoreApplication::removeTranslator(&persian);
}

TEST_F(CoreKeychainTest, RsaPairsPersistUnderTheirTags)
{
    const QString publicTag = u"public tag"_s;
    const QString privateTag = u"private tag"_s;
    while (store.deleteRSAKeyWithTag(publicTag) || store.deleteRSAKeyWithTag(privateTag)) {
    }
    EXPECT_FALSE(store.hasRSAKeyWithTag(publicTag));
    EXPECT_FALSE(store.dataForRSAKeyWithTag(publicTag));
    EXPECT_FALSE(store.keyRefOfRSAKeyWithTag(publicTag));
    EXPECT_FALSE(store.generateRSAKeyPairWithLength(8, publicTag, privateTag)) << "too short for RSA";
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
    EXPECT_TRUE(store.keyRefOfRSAKeyWithTag(privateTag)->matches(*privateKey));
    store.clearAll();
    EXPECT_FALSE(store.hasValue(publicTag));
    EXPECT_TRUE(store.deleteRSAKeyWithTag(publicTag));
    EXPECT_FALSE(store.hasRSAKeyWithTag(publicTag));
    EXPECT_TRUE(store.deleteRSAKeyWithTag(privateTag));
}

} // namespace kelpay

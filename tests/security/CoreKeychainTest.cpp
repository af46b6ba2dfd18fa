#include "security/keychain/CoreKeychain.h"

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
        return QLatin1StringView(context) == u"CoreKeychain"_s ? u"ترجمه "_s + QLatin1StringView(text) : QString();
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

} // namespace kelpay

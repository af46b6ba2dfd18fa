#include "TestIdentity.h"

#include "security/OpenSsl.h"
#include "security/Pkcs12Item.h"

#include <gtest/gtest.h>

#include <ctime>

namespace kelpay {

using namespace Qt::StringLiterals;
using test::IdentityRecipe;

namespace {

const QString password = u"qwpLumaXYT@#781"_s;

} // namespace

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
    EXPECT_EQ(ERR_peek_error(), 0U);
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

} // namespace kelpay

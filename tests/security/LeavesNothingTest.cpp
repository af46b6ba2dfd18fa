#include "TestIdentity.h"

#include "security/AFRSA.h"
#include "security/Base64.h"
#include "security/BlockCipher.h"
#include "security/CoreSecurity.h"
#include "security/keychain/CoreKeychain.h"

#include <gtest/gtest.h>

#include <QFile>

#include <array>
#include <cinttypes>
#include <cstdio>
#include <fstream>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

// Bytes to look for, held inverted so that they don't find themselves.
class Needle
{
public:
    explicit Needle(std::string_view bytes)
    {
        for (const char byte : bytes)
            m_inverted.push_back(static_cast<char>(~byte));
    }

    // How often they stand in this process's writable memory.
    int count() const
    {
        int found = 0;
        std::ifstream maps("/proc/self/maps");
        for (std::string line; std::getline(maps, line);) {
            std::uintptr_t begin = 0;
            std::uintptr_t end = 0;
            char rights[5] = {};
            if (std::sscanf(line.c_str(), "%" SCNxPTR "-%" SCNxPTR " %4s", &begin, &end, rights) == 3 &&
                rights[0] == 'r' && rights[1] == 'w')
                found += countIn(reinterpret_cast<const char *>(begin), reinterpret_cast<const char *>(end));
        }
        return found;
    }

private:
    int countIn(const char *begin, const char *end) const
    {
        const char *inverted = m_inverted.data();
        const std::size_t size = m_inverted.size();
        int found = 0;
        for (const char *at = begin; at + size <= end; ++at) {
            std::size_t same = 0;
            while (same < size && at[same] == static_cast<char>(~inverted[same]))
                ++same;
            found += same == size ? 1 : 0;
        }
        return found;
    }

    std::string m_inverted;
};

// Sixty digits, put together where only wiped memory sees them.
Bytes marker()
{
    BytesBuilder builder(60);
    for (int i = 0; i < 60; ++i)
        builder.append(static_cast<char>('0' + (i * i * i + 7 * i + i / 10) % 10));
    return builder.take();
}

std::string_view utf16(const QString &text)
{
    return {reinterpret_cast<const char *>(text.utf16()), 2 * static_cast<std::size_t>(text.size())};
}

} // namespace

TEST(LeavesNothing, TheScanFindsWhatIsThere)
{
    const Needle needle(marker().view());
    EXPECT_EQ(needle.count(), 0);
    const Bytes held = marker();
    EXPECT_EQ(needle.count(), 1);
}

TEST(LeavesNothing, OfARequest)
{
    const test::InstalledIdentity identity(test::makeIdentity());
    UserDefaults defaults{QString()};
    const CoreSecurity security(defaults);
    // The caller's text, and its copy in the caller's object, are the caller's business.
    const QString text = marker().toText();
    const QJsonObject request{{u"pan"_s, text}};
    const std::array needles{Needle(marker().view()), Needle(utf16(text))};
    const std::array before{needles[0].count(), needles[1].count()};
    for (int i = 0; i < 20; ++i)
        ASSERT_FALSE(security.encryptRequest(request).contains(u"(null)"_s));
    EXPECT_LE(needles[0].count(), before[0]);
    EXPECT_LE(needles[1].count(), before[1]);

    // The key stays in the process-wide cipher object, and nowhere else.
    const auto key = decodeBase64(defaults.utf8(u"latest_key"_s)->view(), UnknownCharacters::Refuse);
    const Needle keyNeedle(key->view());
    EXPECT_EQ(keyNeedle.count(), 2) << "there and in this test";
}

TEST(LeavesNothing, OfAnAnswer)
{
    const test::InstalledIdentity identity(test::makeIdentity());
    UserDefaults defaults{QString()};
    const CoreSecurity security(defaults);
    const Needle needle(marker().view());
    security.encryptRequest({{u"a"_s, 1}});
    const auto key = decodeBase64(defaults.utf8(u"latest_key"_s)->view(), UnknownCharacters::Refuse);
    const QString answer =
        *base64EncodedString(*doBlockCipherWithAlgorithm(marker(), CipherAES, key, {}, CipherEncrypt, true, true));
    for (int i = 0; i < 20; ++i)
        ASSERT_EQ(security.decryptRequest(answer), marker());
    EXPECT_FALSE(security.decryptRequest(answer.chopped(4) + u"AAA="_s));
    EXPECT_EQ(needle.count(), 0);
}

TEST(LeavesNothing, OfAPassword)
{
    // The identity is made with a copy of its own; only what the import adds is counted.
    const QString password = marker().toText().left(30);
    const Bytes file = test::makeIdentity({.bits = 1024, .password = password.toStdString()});
    const Needle needle(Bytes::fromText(password).view());
    const int before = needle.count();
    ASSERT_TRUE(AFRSA::sharedAFRSA().keysFromData(file, password));
    EXPECT_LE(needle.count(), before + 1) << "remembered with the file, to notice another one";
    ASSERT_FALSE(AFRSA::sharedAFRSA().keysFromData(file, u"another"_s));
    EXPECT_LE(needle.count(), before);
}

TEST(LeavesNothing, OfAKeychainValue)
{
    const Needle needle(marker().view());
    const CoreKeychain store(u"leaves nothing"_s);
    ASSERT_TRUE(store.setData(marker(), u"key"_s));
    ASSERT_TRUE(store.setData(marker(), u"key"_s));
    ASSERT_EQ(store.dataForKey(u"key"_s), marker());
    EXPECT_EQ(needle.count(), 0);
    EXPECT_TRUE(store.deleteEntryForKey(u"key"_s));
}

} // namespace kelpay

#include "platform/Bytes.h"
#include "tests/Sanitized.h"

#include <gtest/gtest.h>

#include <QString>

#include <cstring>
#include <sys/resource.h>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

TEST(Bytes, BuilderKeepsContentAcrossGrowthAndCuts)
{
    BytesBuilder builder(2);
    for (int round = 0; round < 200; ++round)
        builder.append("abc");
    builder.truncate(599);
    std::memcpy(builder.extend(2), "XY", 2);
    const Bytes bytes = builder.take();
    ASSERT_EQ(bytes.size(), 601u);
    EXPECT_EQ(bytes.view().substr(594), "abcabXY");
    EXPECT_EQ(builder.size(), 0u);
    EXPECT_TRUE(builder.take().empty());
}

TEST(Bytes, TextRoundTrips)
{
    for (const auto &text : {QString(), u"abc"_s, u"پرداخت ۱۲"_s, QString::fromUtf8("\xF0\x9F\x99\x82")})
        EXPECT_EQ(Bytes::fromText(text).toText(), text);
}

// A sanitizer needs memory of its own, and would object to storage that is read after its release, as is done on
// purpose.
#ifndef KELPAY_SANITIZED_MEMORY
TEST(Bytes, SecretsAreHeldWhereTheSystemGivesNoPages)
{
    rlimit before;
    ASSERT_EQ(getrlimit(RLIMIT_AS, &before), 0);
    const rlimit none{1, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_AS, &none), 0);
    {
        BytesBuilder builder(16, Storage::SecretPages);
        builder.append("12345");
        EXPECT_EQ(builder.take().view(), "12345");
    }
    setrlimit(RLIMIT_AS, &before);
}

TEST(Bytes, LastHolderWipes)
{
    auto first = std::make_unique<Bytes>(std::string_view("0123456789abcdef0123456789abcdef0123456789abcdef"));
    const Bytes second = *first;
    const volatile std::uint8_t *storage = second.data();
    first.reset();
    EXPECT_EQ(second.view().substr(0, 4), "0123");
    {
        const Bytes moved = std::move(const_cast<Bytes &>(second));
    }
    // The allocator may have written its links into the first bytes; the rest is zero.
    for (int index = 24; index < 48; ++index)
        EXPECT_EQ(storage[index], 0) << index;
}
#endif

} // namespace
} // namespace kelpay

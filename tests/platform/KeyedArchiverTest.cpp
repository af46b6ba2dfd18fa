#include "platform/KeyedArchiver.h"

#include <gtest/gtest.h>

namespace kelpay {
namespace {

TEST(KeyedArchiver, ADamagedArchiveReadsAsAbsent)
{
    const QCborMap values{{QStringLiteral("urn"), QStringLiteral("123")}, {QStringLiteral("ti"), 7.5}};
    const Bytes archive = KeyedArchiver::archive(QStringLiteral("Rdp"), values);
    ASSERT_EQ(KeyedArchiver::unarchive(QStringLiteral("Rdp"), archive), values);
    EXPECT_FALSE(KeyedArchiver::unarchive(QStringLiteral("Rd"), archive));

    for (std::size_t at = 0; at < archive.size(); ++at) {
        QByteArray flipped = archive.toByteArray();
        flipped[static_cast<qsizetype>(at)] = static_cast<char>(flipped[static_cast<qsizetype>(at)] ^ 0x01);
        EXPECT_FALSE(KeyedArchiver::unarchive(QStringLiteral("Rdp"), Bytes::fromByteArray(flipped))) << at;
        EXPECT_FALSE(KeyedArchiver::unarchive(QStringLiteral("Rdp"), Bytes(archive.data(), at))) << at;
    }
}

} // namespace
} // namespace kelpay

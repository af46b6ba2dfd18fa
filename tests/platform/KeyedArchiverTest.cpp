#include "platform/KeyedArchiver.h"

#include <QCborArray>
#include <QCryptographicHash>
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

TEST(KeyedArchiver, BytesThatAreNoArchiveReadAsAbsentBehindARightChecksum)
{
    const QByteArray head = QByteArray::fromHex("8269") + "BaseClass";
    const QByteArray deep = QByteArray(100, char(0x81)) + '\0';
    for (const QByteArray &rest : {QByteArray::fromHex("a262726401a101"), QByteArray::fromHex("a1617ad82060"),
                                   QByteArray::fromHex("a1617a") + deep, QByteArray::fromHex("a000"), QByteArray()}) {
        const QByteArray content = head + rest;
        const QByteArray sum = QCryptographicHash::hash(content, QCryptographicHash::Sha256);
        EXPECT_FALSE(KeyedArchiver::unarchive(QStringLiteral("BaseClass"), Bytes::fromByteArray(sum + content)))
            << rest.toHex().constData();
    }
    const QByteArray whole = head + QByteArray::fromHex("a1617a820102");
    const QByteArray sum = QCryptographicHash::hash(whole, QCryptographicHash::Sha256);
    EXPECT_TRUE(KeyedArchiver::unarchive(QStringLiteral("BaseClass"), Bytes::fromByteArray(sum + whole)));
}

} // namespace
} // namespace kelpay

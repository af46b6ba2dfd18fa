#include "platform/KeyedArchiver.h"

#include <QCborArray>
#include <QCryptographicHash>
#include <gtest/gtest.h>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

TEST(KeyedArchiver, ADamagedArchiveReadsAsAbsent)
{
    const QCborMap values{{u"urn"_s, u"123"_s}, {u"ti"_s, 7.5}};
    const Bytes archive = KeyedArchiver::archive(u"Rdp"_s, values);
    ASSERT_EQ(KeyedArchiver::unarchive(u"Rdp"_s, archive), values);
    EXPECT_FALSE(KeyedArchiver::unarchive(u"Rd"_s, archive));

    for (std::size_t at = 0; at < archive.size(); ++at) {
        QByteArray flipped = archive.toByteArray();
        flipped[static_cast<qsizetype>(at)] = static_cast<char>(flipped[static_cast<qsizetype>(at)] ^ 0x01);
        EXPECT_FALSE(KeyedArchiver::unarchive(u"Rdp"_s, Bytes::fromByteArray(flipped))) << at;
        EXPECT_FALSE(KeyedArchiver::unarchive(u"Rdp"_s, Bytes(archive.data(), at))) << at;
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
        EXPECT_FALSE(KeyedArchiver::unarchive(u"BaseClass"_s, Bytes::fromByteArray(sum + content)))
            << rest.toHex().constData();
    }
    const QByteArray whole = head + QByteArray::fromHex("a1617a820102");
    const QByteArray sum = QCryptographicHash::hash(whole, QCryptographicHash::Sha256);
    EXPECT_TRUE(KeyedArchiver::unarchive(u"BaseClass"_s, Bytes::fromByteArray(sum + whole)));
}

} // namespace
} // namespace kelpay

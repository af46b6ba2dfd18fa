#include "KeyedArchiver.h"

#include <QCborArray>
#include <QCborStreamReader>
#include <QCborValue>
#include <QCryptographicHash>

namespace kelpay {

namespace {

// An archive is the checksum of what follows, then the CBOR array [class name, values].
constexpr qsizetype checksumSize = 32;
constexpr int deepestArchive = 40; // an answer's 32 levels, and those of the records around it

QByteArray checksum(QByteArrayView content)
{
    return QCryptographicHash::hash(content.toByteArray(), QCryptographicHash::Sha256);
}

/// Whether the item that `reader` stands at is whole, made of plain values, and no deeper than an answer may be. Qt's
/// own reading of tagged values can crash.
bool isSound(QCborStreamReader &reader, int depth)
{
    if (!reader.isValid() || reader.isTag() || depth < 0)
        return false;
    if (!reader.isContainer())
        return reader.next();
    if (!reader.enterContainer())
        return false;
    while (reader.lastError() == QCborError::NoError && reader.hasNext()) {
        if (!isSound(reader, depth - 1))
            return false;
    }
    return reader.lastError() == QCborError::NoError && reader.leaveContainer();
}

} // namespace

Bytes KeyedArchiver::archive(const QString &className, const QCborMap &values)
{
    const QByteArray content = QCborValue(QCborArray{className, values}).toCbor();
    return Bytes::fromByteArray(checksum(content) + content);
}

std::optional<QCborMap> KeyedArchiver::unarchive(const QString &className, const Bytes &archive)
{
    const QByteArray bytes = archive.toByteArray();
    if (bytes.size() <= checksumSize)
        return std::nullopt;
    const QByteArray content = bytes.sliced(checksumSize);
    if (checksum(content) != bytes.first(checksumSize))
        return std::nullopt;
    QCborStreamReader reader(content);
    if (!isSound(reader, deepestArchive) || reader.currentOffset() != content.size())
        return std::nullopt;
    const QCborArray parts = QCborValue::fromCbor(content).toArray();
    if (parts.size() != 2 || parts.first().toString() != className || !parts.last().isMap())
        return std::nullopt;
    return parts.last().toMap();
}

} // namespace kelpay

#include "KeyedArchiver.h"

#include <QCborArray>
#include <QCborValue>
#include <QCryptographicHash>

namespace kelpay {

namespace {

// An archive is the checksum of what follows, then the CBOR array [class name, values].
constexpr qsizetype checksumSize = 32;

QByteArray checksum(QByteArrayView content)
{
    return QCryptographicHash::hash(content.toByteArray(), QCryptographicHash::Sha256);
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
    const QCborArray parts = QCborValue::fromCbor(content).toArray();
    if (parts.size() != 2 || parts.first().toString() != className || !parts.last().isMap())
        return std::nullopt;
    return parts.last().toMap();
}

} // namespace kelpay

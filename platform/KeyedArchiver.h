#pragma once

#include "Bytes.h"

#include <QCborMap>
#include <QString>

#include <optional>

namespace kelpay {

/// Keyed archives: a class name and a map of values under text keys, with a checksum, so that a damaged archive reads
/// as absent and never as other values. Any thread.
class KeyedArchiver
{
public:
    static Bytes archive(const QString &className, const QCborMap &values);
    /// The values of an archive of `className`; std::nullopt for another class or damaged bytes.
    static std::optional<QCborMap> unarchive(const QString &className, const Bytes &archive);
};

} // namespace kelpay

#pragma once

#include "platform/Bytes.h"

#include <QString>

#include <optional>

namespace kelpay {

/// The 32 bytes under which the keychain's file seals its values, in a file of their own (0600). Read at each use and
/// never kept in memory, so that all processes always agree on it.
class MasterKey
{
public:
    explicit MasterKey(const QString &path) : m_path(path) {}

    /// Unreadable: also what is not this user's own file, and what others may read or write.
    enum class State { Present, Missing, Damaged, Unreadable };
    struct Reading
    {
        State state;
        std::optional<Bytes> key;
    };
    Reading read() const;

    /// The key, made now where it is missing or damaged. The caller holds the keychain's write lock. std::nullopt, with
    /// a log line, where it can't be read or written: an unreadable key is never replaced.
    std::optional<Bytes> readOrMake() const;

private:
    std::optional<Bytes> make() const;

    QString m_path;
};

} // namespace kelpay

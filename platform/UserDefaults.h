#pragma once

#include "Bytes.h"

#include <QString>

#include <memory>
#include <optional>

namespace kelpay {

/// Small typed values that outlive the process, shared by all processes of the host. Each write is one transaction;
/// what was written survives a killed process. A value that can't be written lives in memory for the process, until the
/// file takes one again, and a log line says so. A damaged file is repaired. A call waits at most 0.8 s for another
/// process, one that repairs longer. Any thread.
class UserDefaults
{
public:
    /// The host's defaults, in the state folder.
    static UserDefaults &standard();

    /// Defaults in the database file at `path`, or in memory only for an empty path.
    explicit UserDefaults(const QString &path);
    ~UserDefaults();
    UserDefaults(const UserDefaults &) = delete;
    UserDefaults &operator=(const UserDefaults &) = delete;

    /// A text; a number reads as its decimal text. Absent for data.
    std::optional<QString> string(const QString &key) const;
    /// The text as wiped UTF-8 bytes, for what should leave no copy behind.
    std::optional<Bytes> utf8(const QString &key) const;
    /// A number; a text reads as its leading integer, 0 for none. Absent for data.
    std::optional<qint64> integer(const QString &key) const;
    std::optional<Bytes> data(const QString &key) const;

    void setString(const QString &key, const QString &value);
    void setUtf8(const QString &key, const Bytes &value);
    void setInteger(const QString &key, qint64 value);
    void setData(const QString &key, const Bytes &value);
    void remove(const QString &key);
    /// Adds 1 to the number under `key` (absent counts as 0) and gives the new value. No increment of another thread or
    /// process is lost.
    qint64 increment(const QString &key);

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

} // namespace kelpay

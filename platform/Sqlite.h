#pragma once

#include "Bytes.h"

#include <QString>

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace kelpay {

/// One prepared statement, ready to bind and step. Results are read before the next step or reset.
class SqliteStatement
{
public:
    bool isValid() const noexcept { return m_statement != nullptr; }
    /// Bindings count from 1 and copy nothing: what is bound must outlive the step.
    SqliteStatement &bind(int index, std::string_view text);
    SqliteStatement &bind(int index, std::int64_t number);
    SqliteStatement &bind(int index, const Bytes &blob);
    SqliteStatement &bindNull(int index);

    enum class Step { Row, Done, Failed };
    Step step();
    /// Steps to the end; true when nothing failed.
    bool run();
    /// Ready for another run; bindings are dropped.
    void reset();

    bool isNull(int column) const;
    std::int64_t integer(int column) const;
    QString text(int column) const;
    Bytes bytes(int column) const;

private:
    friend class SqliteDatabase;
    struct Finalize
    {
        void operator()(sqlite3_stmt *statement) const noexcept;
    };
    std::unique_ptr<sqlite3_stmt, Finalize> m_statement;
};

/// One connection to one database file. One thread at a time. Errors are logged with the file and what to do; values
/// never are.
class SqliteDatabase
{
public:
    enum class Durability { SurvivesKill, SurvivesPowerLoss };

    /// Opens the file at `path`, made private to its owner if it is new, and runs `schema` in it; a damaged one is
    /// repaired, see there. On a read-only medium it can be read. Null, with a log line, where that fails. A patient
    /// wait for another process ends after 0.8 s; a repair has waits of its own.
    static std::unique_ptr<SqliteDatabase> open(const QString &path, Durability durability, const char *schema,
                                                bool isPatient = true);
    /// Moves a damaged file aside, to "<path>.damaged-<milliseconds since 1970>", and opens a new one that holds every
    /// row which can still be read. Several processes may do so at once. Where that can't be done now it gives, with a
    /// log line, the damaged one back to be read as far as it goes: it refuses writes, and can be given to another
    /// repair. Null where nothing of it can be read.
    static std::unique_ptr<SqliteDatabase> repair(std::unique_ptr<SqliteDatabase> damaged);

    /// Invalid, and noted, where the file has other tables.
    SqliteStatement prepare(const char *sql);
    bool execute(const char *sql);
    /// SQLite's extended code of the last failure.
    int lastError() const;
    /// Rows changed by the last statement.
    int changes() const;
    /// Whether a call waits for another process that writes, or fails at once.
    void setPatient(bool patient);
    /// Logs the last failure, damage once; to be called before the next statement.
    void noteFailure(const char *action);
    /// A failure that was noted says that the file is not the database it was.
    bool isDamaged() const noexcept { return m_isDamaged; }
    /// Damaged, and the last repair could not replace it.
    bool isLeftDamaged() const noexcept { return m_isLeftDamaged; }
    /// The file was replaced or removed since it was opened. A write is in the file at the path when this is false
    /// while its lock is held, or after it: who repairs replaces the file under that lock.
    bool isMoved() const;
    /// False when the file was moved, or can only be read: time to open it again.
    bool isCurrent() const;

private:
    SqliteDatabase(QString path, Durability durability, const char *schema);
    bool connect();
    bool connectTo(const QByteArray &name, int flags);
    bool setUp();
    SqliteStatement compile(const char *sql);
    bool isDamage(int code) const;
    bool isWhole();
    bool keepForReading();
    bool replaceByReadableRows();
    std::optional<int> takeRowsFrom(const QString &damagedPath);

    struct Close
    {
        void operator()(sqlite3 *database) const noexcept;
    };
    QString m_path;
    Durability m_durability;
    const char *m_schema;
    std::unique_ptr<sqlite3, Close> m_database;
    bool m_isDamaged = false;
    bool m_isLeftDamaged = false;
    bool m_isPatient = true;
};

} // namespace kelpay

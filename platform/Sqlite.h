#pragma once

#include "Bytes.h"

#include <QString>

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace kelpay {

class SqliteDatabase;

/// One prepared statement, ready to bind and step. Results are read before the next step. It ends before its database
/// does. What fails is logged, with the file and what to do, never with values.
class SqliteStatement
{
public:
    /// False where the file has other tables.
    bool isValid() const noexcept { return m_statement != nullptr; }
    /// Bindings count from 1. A text is copied, all of it; bytes are not, so they must outlive the step. A binding that
    /// fails makes the step fail.
    SqliteStatement &bind(int index, const QString &text);
    SqliteStatement &bind(int index, std::int64_t number);
    SqliteStatement &bind(int index, const Bytes &blob);

    /// Duplicate: the row was refused because its name is taken, which is an answer and no failure.
    enum class Step { Row, Done, Duplicate, Failed };
    Step step();
    /// Steps to the end; true when that was reached.
    bool run();

    bool isNull(int column) const;
    std::int64_t integer(int column) const;
    QString text(int column) const;
    Bytes bytes(int column) const;

private:
    friend class SqliteDatabase;
    // Gives it back to the database that keeps it for the next use, or ends it.
    struct Release
    {
        SqliteDatabase *database = nullptr;
        void operator()(sqlite3_stmt *statement) const noexcept;
    };
    SqliteStatement(sqlite3_stmt *statement, SqliteDatabase *database) : m_statement(statement, Release{database}) {}
    SqliteStatement &noteBinding(int code);

    std::unique_ptr<sqlite3_stmt, Release> m_statement;
    bool m_isBound = true;
};

/// One connection to one database file, as an action of SqliteStore sees it. One thread at a time.
class SqliteDatabase
{
public:
    enum class Durability { SurvivesKill, SurvivesPowerLoss };

    SqliteStatement prepare(const char *sql);
    /// Rows changed by the last statement.
    int changes() const;

private:
    friend class SqliteStatement;
    friend class SqliteStore;
    friend class SqliteTransaction;

    SqliteDatabase(QString path, Durability durability, const char *schema);

    /// Opens the file at `path`, made private to its owner if it is new, and runs `schema` in it; a damaged one is
    /// repaired. On a read-only medium it can be read. Null, with a log line, where that fails, and for a file that is
    /// not this user's own.
    static std::unique_ptr<SqliteDatabase> open(const QString &path, Durability durability, const char *schema,
                                                bool isPatient);
    /// Moves a damaged file aside, to "<path>.damaged-<milliseconds since 1970>", and opens a new one that holds every
    /// row which can still be read; the latest two that were moved aside stay. Several processes may do so at once.
    /// Where that can't be done now it gives, with a log line, the damaged one back to be read as far as it goes: it
    /// refuses writes, and can be given to another repair. Null where nothing of it can be read.
    static std::unique_ptr<SqliteDatabase> repair(std::unique_ptr<SqliteDatabase> damaged, bool isPatient);
    /// What a repair that was killed in its last step left is as it was before that step. False, with a log line, where
    /// another process is at it.
    static bool undoInterruptedRepair(const QString &path, bool isPatient);

    bool connect(bool isPatient);
    bool connectTo(const QByteArray &name, int flags, bool isPatient);
    bool setUp();
    bool execute(const char *sql);
    /// Unlike prepare() it notes no failure, then or later.
    SqliteStatement compile(const char *sql);
    /// Whether a call waits for another process that writes, 0.8 s at most, or fails at once.
    void setPatient(bool isPatient);
    /// SQLite's extended code of the last failure.
    int lastError() const;
    /// Remembers and logs the last failure, damage once; to be called before the next statement.
    void noteFailure(const char *action);
    bool isDamage(int code) const;
    bool isShorterThanItSays() const;
    bool isWhole();
    /// The file was replaced or removed since it was opened. A write is in the file at the path when this is false
    /// while its lock is held: who repairs replaces the file under that lock.
    bool isMoved() const;
    /// False when the file was moved, or can only be read: time to open it again.
    bool isCurrent() const;
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
    /// Prepared before and not in use now.
    std::vector<SqliteStatement> m_idle;
    /// The file is not the database it was. Only a repair ends this.
    bool m_isDamaged = false;
    /// Something failed since the store last looked.
    bool m_hasFailed = false;
};

/// The write lock of a database, over all processes, and what is written under it: undone unless committed.
class SqliteTransaction
{
public:
    /// Not open where the lock can't be had, and on a file that another process replaced meanwhile; SqliteStore then
    /// runs the action again on the new one.
    explicit SqliteTransaction(SqliteDatabase &database);
    SqliteTransaction(const SqliteTransaction &) = delete;
    SqliteTransaction &operator=(const SqliteTransaction &) = delete;
    ~SqliteTransaction();
    bool isOpen() const noexcept { return m_isOpen; }
    /// False, and nothing is written, where this or a statement before it failed.
    bool commit();

private:
    SqliteDatabase &m_database;
    bool m_isOpen;
};

} // namespace kelpay

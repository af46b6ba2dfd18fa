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

    /// Opens the file at `path`, made private to its owner if it is new, and runs `schema` in it. Null, with a log
    /// line, where that fails. A writer waits at most two seconds for another process.
    static std::unique_ptr<SqliteDatabase> open(const QString &path, Durability durability, const char *schema);

    SqliteStatement prepare(const char *sql);
    bool execute(const char *sql);
    /// SQLite's extended code of the last failure.
    int lastError() const;
    /// Rows changed by the last statement.
    int changes() const;
    void logFailure(const char *action) const;

private:
    struct Close
    {
        void operator()(sqlite3 *database) const noexcept;
    };
    std::unique_ptr<sqlite3, Close> m_database;
    QString m_path;
};

} // namespace kelpay

#include "Sqlite.h"

#include "Log.h"
#include "StateFolder.h"

#include <QFile>

#include <sqlite3.h>

namespace kelpay {

void SqliteStatement::Finalize::operator()(sqlite3_stmt *statement) const noexcept
{
    sqlite3_finalize(statement);
}

SqliteStatement &SqliteStatement::bind(int index, std::string_view text)
{
    sqlite3_bind_text64(m_statement.get(), index, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8);
    return *this;
}

SqliteStatement &SqliteStatement::bind(int index, std::int64_t number)
{
    sqlite3_bind_int64(m_statement.get(), index, number);
    return *this;
}

SqliteStatement &SqliteStatement::bind(int index, const Bytes &blob)
{
    // A null pointer would bind NULL; an empty value is not an absent one.
    const void *data = blob.empty() ? "" : static_cast<const void *>(blob.data());
    sqlite3_bind_blob64(m_statement.get(), index, data, blob.size(), SQLITE_STATIC);
    return *this;
}

SqliteStatement &SqliteStatement::bindNull(int index)
{
    sqlite3_bind_null(m_statement.get(), index);
    return *this;
}

SqliteStatement::Step SqliteStatement::step()
{
    switch (m_statement ? sqlite3_step(m_statement.get()) : SQLITE_MISUSE) {
    case SQLITE_ROW:
        return Step::Row;
    case SQLITE_DONE:
        return Step::Done;
    default:
        return Step::Failed;
    }
}

bool SqliteStatement::run()
{
    Step result = step();
    while (result == Step::Row)
        result = step();
    return result == Step::Done;
}

void SqliteStatement::reset()
{
    sqlite3_reset(m_statement.get());
    sqlite3_clear_bindings(m_statement.get());
}

bool SqliteStatement::isNull(int column) const
{
    return sqlite3_column_type(m_statement.get(), column) == SQLITE_NULL;
}

std::int64_t SqliteStatement::integer(int column) const
{
    return sqlite3_column_int64(m_statement.get(), column);
}

QString SqliteStatement::text(int column) const
{
    const auto *text = reinterpret_cast<const char *>(sqlite3_column_text(m_statement.get(), column));
    return QString::fromUtf8(text, sqlite3_column_bytes(m_statement.get(), column));
}

Bytes SqliteStatement::bytes(int column) const
{
    const void *blob = sqlite3_column_blob(m_statement.get(), column);
    return {blob, static_cast<std::size_t>(sqlite3_column_bytes(m_statement.get(), column))};
}

void SqliteDatabase::Close::operator()(sqlite3 *database) const noexcept
{
    sqlite3_close_v2(database);
}

std::unique_ptr<SqliteDatabase> SqliteDatabase::open(const QString &path, Durability durability, const char *schema)
{
    auto database = std::make_unique<SqliteDatabase>();
    database->m_path = path;
    // SQLite gives its companion files the rights of the main one. A read-only medium fails here and opens below.
    makePrivateFile(path);
    sqlite3 *raw = nullptr;
    const int opened = sqlite3_open_v2(QFile::encodeName(path).constData(), &raw,
                                       SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
    database->m_database.reset(raw);
    if (opened != SQLITE_OK) {
        database->logFailure("opened");
        return nullptr;
    }
    sqlite3_busy_timeout(raw, 2'000);
    const char *pragmas = durability == Durability::SurvivesPowerLoss
                              ? "PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL; PRAGMA secure_delete=ON;"
                              : "PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL; PRAGMA secure_delete=ON;";
    database->execute(pragmas);
    if (!database->execute(schema)) {
        database->logFailure("prepared");
        return nullptr;
    }
    return database;
}

SqliteStatement SqliteDatabase::prepare(const char *sql)
{
    SqliteStatement statement;
    sqlite3_stmt *raw = nullptr;
    sqlite3_prepare_v2(m_database.get(), sql, -1, &raw, nullptr);
    statement.m_statement.reset(raw);
    return statement;
}

bool SqliteDatabase::execute(const char *sql)
{
    return sqlite3_exec(m_database.get(), sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

int SqliteDatabase::lastError() const
{
    return sqlite3_extended_errcode(m_database.get());
}

int SqliteDatabase::changes() const
{
    return sqlite3_changes(m_database.get());
}

void SqliteDatabase::logFailure(const char *action) const
{
    qCWarning(logStore, "%s can't be %s (%s): check that the disk has room and that this user may write there",
              QFile::encodeName(m_path).constData(), action,
              m_database ? sqlite3_errmsg(m_database.get()) : "no memory");
}

} // namespace kelpay

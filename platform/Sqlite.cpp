#include "Sqlite.h"

#include "Log.h"
#include "StateFolder.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QFileInfo>
#include <QUrl>

#include <chrono>
#include <sqlite3.h>
#include <sys/statvfs.h>
#include <thread>
#include <unistd.h>

namespace kelpay {

namespace {

const char *const damageAdvice = "what can be read of it goes to a new file, the damaged one stays beside that";
constexpr int longestWait = 800; // milliseconds

} // namespace

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
    if (!m_statement)
        return;
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
    // The last to close empties the log of changes, which holds former values. Not before: it would cost each write.
    sqlite3_exec(database, "PRAGMA journal_size_limit=0", nullptr, nullptr, nullptr);
    sqlite3_close_v2(database);
}

SqliteDatabase::SqliteDatabase(QString path, Durability durability, const char *schema)
    : m_path(std::move(path)), m_durability(durability), m_schema(schema)
{}

std::unique_ptr<SqliteDatabase> SqliteDatabase::open(const QString &path, Durability durability, const char *schema,
                                                     bool isPatient)
{
    std::unique_ptr<SqliteDatabase> database(new SqliteDatabase(path, durability, schema));
    database->m_isPatient = isPatient;
    if (database->connect())
        return database;
    return database->isDamaged() ? repair(std::move(database)) : nullptr;
}

bool SqliteDatabase::connect()
{
    // SQLite gives its companion files the rights of the main one. A read-only medium fails here and opens below.
    makePrivateFile(m_path);
    if (connectTo(QFile::encodeName(m_path), SQLITE_OPEN_READWRITE))
        return isWhole();
    // On a read-only medium SQLite needs the companion files of a database that was in use. A database without them,
    // a copy say, can be read as it lies; one with a log of changes can't, because that would give old values.
    struct statvfs medium
    {
    };
    const bool isReadOnly =
        ::statvfs(QFile::encodeName(m_path).constData(), &medium) == 0 && (medium.f_flag & ST_RDONLY) != 0;
    const QByteArray url = QUrl::fromLocalFile(m_path).toEncoded() + "?immutable=1";
    if (isReadOnly && QFileInfo(m_path + QStringLiteral("-wal")).size() == 0 &&
        connectTo(url, SQLITE_OPEN_READONLY | SQLITE_OPEN_URI))
        return true;
    noteFailure("opened");
    return false;
}

bool SqliteDatabase::connectTo(const QByteArray &name, int flags)
{
    sqlite3 *raw = nullptr;
    const int opened = sqlite3_open_v2(name.constData(), &raw, flags | SQLITE_OPEN_NOMUTEX, nullptr);
    m_database.reset(raw);
    if (opened != SQLITE_OK)
        return false;
    setPatient(m_isPatient);
    // The companion files stay when the last process closes: on a full disk or a read-only medium there would be no
    // room to make them again.
    int stays = 1;
    sqlite3_file_control(raw, "main", SQLITE_FCNTL_PERSIST_WAL, &stays);
    // Where several make a new file at once, SQLite refuses the change to a log of changes without waiting.
    const QDeadlineTimer deadline(m_isPatient ? longestWait : 0);
    while (!setUp()) {
        if ((lastError() & 0xff) != SQLITE_BUSY || deadline.hasExpired())
            return false;
        sqlite3_busy_timeout(raw, 0); // The deadline waits now.
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    setPatient(m_isPatient);
    return true;
}

bool SqliteDatabase::setUp()
{
    return execute(m_durability == Durability::SurvivesPowerLoss ? "PRAGMA synchronous=FULL"
                                                                 : "PRAGMA synchronous=NORMAL") &&
           execute("PRAGMA secure_delete=ON; PRAGMA cell_size_check=ON; PRAGMA journal_mode=WAL") && execute(m_schema);
}

// Finds what no statement would trip over: an index that disagrees with its table, say.
bool SqliteDatabase::isWhole()
{
    auto check = compile("PRAGMA integrity_check(1)");
    const auto step = check.step();
    if (step == SqliteStatement::Step::Failed)
        noteFailure("read");
    if (step != SqliteStatement::Step::Row || check.text(0) == QStringLiteral("ok"))
        return !m_isDamaged;
    m_isDamaged = true;
    qCWarning(logStore, "%s is damaged (%s): %s", QFile::encodeName(m_path).constData(), qUtf8Printable(check.text(0)),
              damageAdvice);
    return false;
}

SqliteStatement SqliteDatabase::compile(const char *sql)
{
    SqliteStatement statement;
    sqlite3_stmt *raw = nullptr;
    sqlite3_prepare_v2(m_database.get(), sql, -1, &raw, nullptr);
    statement.m_statement.reset(raw);
    return statement;
}

SqliteStatement SqliteDatabase::prepare(const char *sql)
{
    auto statement = compile(sql);
    if (!statement.isValid())
        noteFailure("read");
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

void SqliteDatabase::setPatient(bool patient)
{
    m_isPatient = patient;
    sqlite3_busy_timeout(m_database.get(), patient ? longestWait : 0);
}

bool SqliteDatabase::isMoved() const
{
    int isMoved = 0;
    sqlite3_file_control(m_database.get(), "main", SQLITE_FCNTL_HAS_MOVED, &isMoved);
    return isMoved != 0;
}

bool SqliteDatabase::isCurrent() const
{
    return !isMoved() && sqlite3_db_readonly(m_database.get(), "main") == 0;
}

bool SqliteDatabase::isDamage(int code) const
{
    switch (code & 0xff) {
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
    case SQLITE_ERROR: // a statement of ours that does not fit the tables
        return true;
    case SQLITE_READONLY: // in a writable file: its header says so
        return code == SQLITE_READONLY && ::access(QFile::encodeName(m_path).constData(), W_OK) == 0;
    default:
        return false;
    }
}

void SqliteDatabase::noteFailure(const char *action)
{
    const int code = lastError();
    if (m_isDamaged && isDamage(code))
        return;
    m_isDamaged = m_isDamaged || isDamage(code);
    const char *advice = "check that the disk has room and that this user may write there";
    if (isDamage(code))
        advice = damageAdvice;
    else if ((code & 0xff) == SQLITE_BUSY)
        advice = "another process holds it; end that process if it hangs";
    qCWarning(logStore, "%s can't be %s (%s): %s", QFile::encodeName(m_path).constData(), action,
              sqlite3_errmsg(m_database.get()), advice);
}

} // namespace kelpay

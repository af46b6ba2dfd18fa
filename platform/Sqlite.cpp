#include "Sqlite.h"

#include "Files.h"
#include "Log.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QFileInfo>
#include <QStorageInfo>
#include <QUrl>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <sqlite3.h>
#include <thread>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

const char *const damageAdvice = "what can be read of it goes to a new file, the damaged one stays beside that";
constexpr int longestWait = 800; // milliseconds
constexpr std::size_t idleStatements = 16;

} // namespace

void SqliteStatement::Release::operator()(sqlite3_stmt *statement) const noexcept
{
    if (!database || database->m_idle.size() == database->m_idle.capacity()) {
        sqlite3_finalize(statement);
        return;
    }
    sqlite3_reset(statement);
    sqlite3_clear_bindings(statement);
    database->m_idle.push_back(SqliteStatement(statement, nullptr));
}

SqliteStatement &SqliteStatement::noteBinding(int code)
{
    m_isBound = m_isBound && code == SQLITE_OK;
    return *this;
}

SqliteStatement &SqliteStatement::bind(int index, const QString &text)
{
    // As bytes with their number: a text may hold U+0000.
    const QByteArray utf8 = text.toUtf8();
    return noteBinding(sqlite3_bind_text64(m_statement.get(), index, utf8.constData(),
                                           static_cast<sqlite3_uint64>(utf8.size()), SQLITE_TRANSIENT, SQLITE_UTF8));
}

SqliteStatement &SqliteStatement::bind(int index, std::int64_t number)
{
    return noteBinding(sqlite3_bind_int64(m_statement.get(), index, number));
}

SqliteStatement &SqliteStatement::bind(int index, const Bytes &blob)
{
    // A null pointer would bind NULL; an empty value is not an absent one.
    const void *data = blob.empty() ? "" : static_cast<const void *>(blob.data());
    return noteBinding(sqlite3_bind_blob64(m_statement.get(), index, data, blob.size(), SQLITE_STATIC));
}

SqliteStatement::Step SqliteStatement::step()
{
    sqlite3_stmt *const statement = m_statement.get();
    SqliteDatabase *const database = m_statement.get_deleter().database;
    if (!statement || !m_isBound) {
        // What could not be prepared was noted then.
        if (statement && database)
            database->noteFailure("bound");
        return Step::Failed;
    }
    const int code = sqlite3_step(statement);
    if (code == SQLITE_ROW)
        return Step::Row;
    if (code == SQLITE_DONE)
        return Step::Done;
    const int extended = sqlite3_extended_errcode(sqlite3_db_handle(statement));
    if (extended == SQLITE_CONSTRAINT_UNIQUE || extended == SQLITE_CONSTRAINT_PRIMARYKEY)
        return Step::Duplicate;
    if (database)
        database->noteFailure(sqlite3_column_count(statement) > 0 && sqlite3_stmt_readonly(statement) != 0 ? "read"
                                                                                                           : "written");
    return Step::Failed;
}

bool SqliteStatement::run()
{
    Step result = step();
    while (result == Step::Row)
        result = step();
    return result == Step::Done;
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
    const void *text = sqlite3_column_text(m_statement.get(), column);
    return Bytes(text, static_cast<std::size_t>(sqlite3_column_bytes(m_statement.get(), column))).toText();
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
{
    m_idle.reserve(idleStatements);
}

std::unique_ptr<SqliteDatabase> SqliteDatabase::open(const QString &path, Durability durability, const char *schema,
                                                     bool isPatient)
{
    std::unique_ptr<SqliteDatabase> database(new SqliteDatabase(path, durability, schema));
    if (!undoInterruptedRepair(path, isPatient))
        return nullptr;
    if (database->connect(isPatient))
        return database;
    return database->m_isDamaged ? repair(std::move(database), isPatient) : nullptr;
}

bool SqliteDatabase::connect(bool isPatient)
{
    for (const auto *suffix : {"", "-wal", "-shm"}) {
        const QString file = m_path + QLatin1String(suffix);
        if (Files::entryAt(file) != Files::Entry::Foreign)
            continue;
        qCWarning(logStore, "%s is not this user's own file, so nothing is read from it or kept there: move it away",
                  QFile::encodeName(file).constData());
        return false;
    }
    // SQLite gives its companion files the rights of the main one. A read-only medium fails here and opens below.
    Files::makePrivateFile(m_path);
    if (connectTo(QFile::encodeName(m_path), SQLITE_OPEN_READWRITE, isPatient))
        return isWhole();
    // On a read-only medium SQLite needs the companion files of a database that was in use. A database without them,
    // a copy say, can be read as it lies; one with a log of changes can't, because that would give old values.
    const QByteArray url = QUrl::fromLocalFile(m_path).toEncoded() + "?immutable=1";
    if (QStorageInfo(m_path).isReadOnly() && QFileInfo(m_path + u"-wal"_s).size() == 0 &&
        connectTo(url, SQLITE_OPEN_READONLY | SQLITE_OPEN_URI, isPatient))
        return true;
    noteFailure("opened");
    return false;
}

bool SqliteDatabase::connectTo(const QByteArray &name, int flags, bool isPatient)
{
    sqlite3 *raw = nullptr;
    const int opened = sqlite3_open_v2(name.constData(), &raw, flags | SQLITE_OPEN_NOMUTEX, nullptr);
    m_database.reset(raw);
    if (opened != SQLITE_OK)
        return false;
    setPatient(isPatient);
    // The companion files stay when the last process closes: on a full disk or a read-only medium there would be no
    // room to make them again.
    int stays = 1;
    sqlite3_file_control(raw, "main", SQLITE_FCNTL_PERSIST_WAL, &stays);
    // Where several make a new file at once, SQLite refuses the change to a log of changes without waiting.
    const QDeadlineTimer deadline(isPatient ? longestWait : 0);
    while (!setUp()) {
        if ((lastError() & 0xff) != SQLITE_BUSY || deadline.hasExpired())
            return false;
        sqlite3_busy_timeout(raw, 0); // The deadline waits now.
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    setPatient(isPatient);
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
    if (step != SqliteStatement::Step::Row || check.text(0) == u"ok"_s)
        return !m_isDamaged;
    m_isDamaged = true;
    qCWarning(logStore, "%s is damaged (%s): %s", QFile::encodeName(m_path).constData(), qUtf8Printable(check.text(0)),
              damageAdvice);
    return false;
}

SqliteStatement SqliteDatabase::compile(const char *sql)
{
    sqlite3_stmt *raw = nullptr;
    sqlite3_prepare_v2(m_database.get(), sql, -1, &raw, nullptr);
    return {raw, nullptr};
}

SqliteStatement SqliteDatabase::prepare(const char *sql)
{
    const auto isThis = [sql](const SqliteStatement &idle) {
        return std::strcmp(sqlite3_sql(idle.m_statement.get()), sql) == 0;
    };
    sqlite3_stmt *raw = nullptr;
    if (const auto idle = std::find_if(m_idle.begin(), m_idle.end(), isThis); idle != m_idle.end()) {
        raw = idle->m_statement.release();
        m_idle.erase(idle);
    } else if (raw = compile(sql).m_statement.release(); !raw) {
        noteFailure("read");
    }
    return {raw, this};
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

void SqliteDatabase::setPatient(bool isPatient)
{
    sqlite3_busy_timeout(m_database.get(), isPatient ? longestWait : 0);
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
        return code == SQLITE_READONLY && QFileInfo(m_path).isWritable();
    case SQLITE_IOERR: // so newer versions say of a file that lost its end
        return (code == SQLITE_IOERR_READ || code == SQLITE_IOERR_SHORT_READ) && isShorterThanItSays();
    default:
        return false;
    }
}

// Read through SQLite's own handle: opening and closing the file would drop the locks that this process has on it.
bool SqliteDatabase::isShorterThanItSays() const
{
    sqlite3_file *file = nullptr;
    sqlite3_file_control(m_database.get(), "main", SQLITE_FCNTL_FILE_POINTER, &file);
    std::array<std::uint8_t, 32> head{};
    sqlite3_int64 size = 0;
    if (!file || !file->pMethods || file->pMethods->xFileSize(file, &size) != SQLITE_OK)
        return false;
    if (const int code = file->pMethods->xRead(file, head.data(), head.size(), 0); code != SQLITE_OK)
        return code == SQLITE_IOERR_SHORT_READ;
    const auto number = [&head](std::size_t at, std::size_t length) {
        sqlite3_int64 value = 0;
        for (std::size_t i = at; i < at + length; ++i)
            value = value << 8 | head.at(i);
        return value;
    };
    const sqlite3_int64 pageSize = number(16, 2) == 1 ? 65536 : number(16, 2);
    return size < pageSize * number(28, 4);
}

void SqliteDatabase::noteFailure(const char *action)
{
    m_hasFailed = true;
    const int code = lastError();
    const bool wasDamaged = m_isDamaged;
    const bool isDamage = this->isDamage(code);
    if (isDamage && wasDamaged)
        return;
    m_isDamaged = wasDamaged || isDamage;
    const char *advice = "check that the disk has room and that this user may write there";
    if (isDamage)
        advice = damageAdvice;
    else if ((code & 0xff) == SQLITE_BUSY)
        advice = "another process holds it; end that process if it hangs";
    qCWarning(logStore, "%s can't be %s (%s): %s", QFile::encodeName(m_path).constData(), action,
              sqlite3_errmsg(m_database.get()), advice);
}

SqliteTransaction::SqliteTransaction(SqliteDatabase &database)
    : m_database(database), m_isOpen(database.prepare("BEGIN IMMEDIATE").run())
{
    if (m_isOpen && database.isMoved()) {
        database.m_hasFailed = true;
        database.execute("ROLLBACK");
        m_isOpen = false;
    }
}

SqliteTransaction::~SqliteTransaction()
{
    if (m_isOpen)
        m_database.execute("ROLLBACK");
}

bool SqliteTransaction::commit()
{
    if (m_database.m_hasFailed || !m_database.prepare("COMMIT").run())
        return false;
    m_isOpen = false;
    return true;
}

} // namespace kelpay

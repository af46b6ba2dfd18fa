#include "Sqlite.h"

#include "Log.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>

#include <sqlite3.h>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <thread>
#include <unistd.h>

namespace kelpay {

namespace {

// One process at a time repairs in a folder; the lock ends with the process.
class FolderLock
{
public:
    FolderLock(const QString &path, bool isPatient)
        : m_folder(::open(QFile::encodeName(QFileInfo(path).path()).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
    {
        const int longestWait = isPatient ? 400 : 0; // milliseconds
        for (int waited = 0; m_folder >= 0 && !m_isHeld; waited += 10) {
            m_isHeld = ::flock(m_folder, LOCK_EX | LOCK_NB) == 0;
            if (m_isHeld || waited >= longestWait)
                break;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }
    FolderLock(const FolderLock &) = delete;
    FolderLock &operator=(const FolderLock &) = delete;
    ~FolderLock()
    {
        if (m_folder >= 0)
            ::close(m_folder);
    }
    bool isHeld() const { return m_isHeld; }

private:
    int m_folder;
    bool m_isHeld = false;
};

// Nothing is without a name at any moment, and the new database never meets the old log of changes.
bool replace(const QByteArray &path, const QByteArray &fresh, const QByteArray &aside)
{
    if (::link((path + "-wal").constData(), (aside + "-wal").constData()) != 0 && errno != ENOENT)
        return false;
    if (::link(path.constData(), aside.constData()) != 0)
        return false;
    ::unlink((path + "-wal").constData());
    ::unlink((path + "-shm").constData());
    return ::rename(fresh.constData(), path.constData()) == 0;
}

// Says nothing about the file: a later try may read it.
bool isPassing(int code)
{
    switch (code & 0xff) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
    case SQLITE_NOMEM:
    case SQLITE_CANTOPEN:
    case SQLITE_PROTOCOL:
        return true;
    case SQLITE_IOERR:
        return code != SQLITE_IOERR_READ && code != SQLITE_IOERR_SHORT_READ && code != SQLITE_IOERR_CORRUPTFS;
    default:
        return false;
    }
}

void removeDatabase(const QByteArray &path)
{
    for (const char *suffix : {"", "-wal", "-shm", "-journal"})
        ::unlink((path + suffix).constData());
}

} // namespace

std::unique_ptr<SqliteDatabase> SqliteDatabase::repair(std::unique_ptr<SqliteDatabase> damaged)
{
    const QString path = damaged->m_path;
    const QByteArray name = QFile::encodeName(path);
    const FolderLock lock(path, damaged->m_isPatient);
    if (!lock.isHeld())
        qCWarning(logStore, "%s is damaged and another process holds its folder: end that process if it hangs",
                  name.constData());
    // Another process may have repaired it meanwhile.
    if (!lock.isHeld() || (!damaged->isMoved() && !damaged->replaceByReadableRows()))
        return damaged->keepForReading() ? std::move(damaged) : nullptr;
    std::unique_ptr<SqliteDatabase> fresh(new SqliteDatabase(path, damaged->m_durability, damaged->m_schema));
    damaged.reset();
    return fresh->connect() ? std::move(fresh) : nullptr;
}

bool SqliteDatabase::keepForReading()
{
    m_isLeftDamaged = true;
    setPatient(false);
    execute("ROLLBACK");
    return execute("PRAGMA writable_schema=ON; PRAGMA query_only=ON; SELECT 1 FROM sqlite_schema");
}

bool SqliteDatabase::replaceByReadableRows()
{
    const QString fresh = m_path + QStringLiteral(".new");
    const QString aside = m_path + QStringLiteral(".damaged-") + QString::number(QDateTime::currentMSecsSinceEpoch());
    const QByteArray name = QFile::encodeName(m_path);
    // Nobody else writes meanwhile, unless the damage is where it keeps everybody from locking the file. The pragma
    // lets a file be locked that lost its end.
    execute("PRAGMA writable_schema=ON; PRAGMA query_only=OFF");
    if (!execute("BEGIN IMMEDIATE") && (lastError() & 0xff) == SQLITE_BUSY) {
        qCWarning(logStore, "%s is damaged and another process writes to it: end that process if it hangs",
                  name.constData());
        return false;
    }
    removeDatabase(QFile::encodeName(fresh));
    std::optional<int> rows;
    {
        SqliteDatabase database(fresh, m_durability, m_schema);
        if (database.connect())
            rows = database.takeRowsFrom(m_path);
        // All in one file.
        if (rows && !database.execute("PRAGMA journal_mode=DELETE"))
            rows = std::nullopt;
    }
    // Closing left them there.
    ::unlink(QFile::encodeName(fresh + QStringLiteral("-wal")).constData());
    ::unlink(QFile::encodeName(fresh + QStringLiteral("-shm")).constData());
    if (!rows || !replace(name, QFile::encodeName(fresh), QFile::encodeName(aside))) {
        qCWarning(logStore,
                  "%s is damaged and can't be replaced: check that the disk has room and that this user may write "
                  "there",
                  name.constData());
        removeDatabase(QFile::encodeName(fresh));
        return false;
    }
    qCWarning(logStore,
              "%s was damaged and is made anew with the %d values that could still be read: the damaged file is %s, "
              "delete it when nothing is missed",
              name.constData(), *rows, QFile::encodeName(aside).constData());
    return true;
}

std::optional<int> SqliteDatabase::takeRowsFrom(const QString &damagedPath)
{
    SqliteDatabase damaged(damagedPath, m_durability, m_schema);
    sqlite3 *raw = nullptr;
    sqlite3_open_v2(QFile::encodeName(damagedPath).constData(), &raw, SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX,
                    nullptr);
    damaged.m_database.reset(raw);
    damaged.setPatient(true);
    // Reads a file that lost its end.
    damaged.execute("PRAGMA writable_schema=ON");

    int taken = 0;
    auto tables = compile("SELECT name FROM sqlite_schema WHERE type = 'table' AND name NOT LIKE 'sqlite_%'");
    execute("BEGIN IMMEDIATE");
    while (tables.step() == SqliteStatement::Step::Row) {
        const QByteArray table = tables.text(0).toUtf8();
        // From both ends, each up to what can't be read.
        for (const char *order : {" ORDER BY 1", " ORDER BY 1 DESC"}) {
            auto select = damaged.compile("SELECT * FROM " + table + order);
            const int columns = select.isValid() ? sqlite3_column_count(select.m_statement.get()) : 0;
            auto insert = compile("INSERT OR IGNORE INTO " + table + " VALUES(?1" +
                                  QByteArray(",?").repeated(std::max(columns - 1, 0)) + ")");
            auto step = SqliteStatement::Step::Failed;
            while (insert.isValid() && (step = select.step()) == SqliteStatement::Step::Row) {
                for (int column = 0; column < columns; ++column)
                    sqlite3_bind_value(insert.m_statement.get(), column + 1,
                                       sqlite3_column_value(select.m_statement.get(), column));
                if (!insert.run())
                    return std::nullopt;
                taken += changes();
                insert.reset();
            }
            if (step == SqliteStatement::Step::Done)
                break;
            if (isPassing(damaged.lastError()))
                return std::nullopt;
        }
    }
    tables.reset();
    return execute("COMMIT") ? std::optional(taken) : std::nullopt;
}

} // namespace kelpay

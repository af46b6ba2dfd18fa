#include "Sqlite.h"

#include "Log.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>

#include <sqlite3.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
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
    explicit FolderLock(const QString &path)
        : m_folder(::open(QFile::encodeName(QFileInfo(path).path()).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
    {
        constexpr int longestWait = 400; // milliseconds
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

// The log of changes has its second name before the database loses its first: nothing is without a name at any moment.
bool moveAside(const QByteArray &from, const QByteArray &to)
{
    if (::link((from + "-wal").constData(), (to + "-wal").constData()) != 0 && errno != ENOENT)
        return false;
    if (::rename(from.constData(), to.constData()) != 0)
        return false;
    ::unlink((from + "-wal").constData());
    ::unlink((from + "-shm").constData());
    return true;
}

} // namespace

std::unique_ptr<SqliteDatabase> SqliteDatabase::repair(std::unique_ptr<SqliteDatabase> damaged)
{
    const QString path = damaged->m_path;
    const QByteArray name = QFile::encodeName(path);
    const FolderLock lock(path);
    if (!lock.isHeld()) {
        qCWarning(logStore, "%s is damaged and another process holds its folder: end that process if it hangs",
                  name.constData());
        return nullptr;
    }
    // Another process may have repaired it meanwhile.
    int isMoved = 0;
    sqlite3_file_control(damaged->m_database.get(), "main", SQLITE_FCNTL_HAS_MOVED, &isMoved);
    QString aside;
    if (isMoved == 0) {
        aside = path + QStringLiteral(".damaged-") + QString::number(QDateTime::currentSecsSinceEpoch());
        if (!moveAside(name, QFile::encodeName(aside))) {
            qCWarning(logStore,
                      "%s is damaged and can't be moved aside (%s): give this user write access to its folder",
                      name.constData(), std::strerror(errno));
            return nullptr;
        }
    }
    std::unique_ptr<SqliteDatabase> fresh(new SqliteDatabase(path, damaged->m_durability, damaged->m_schema));
    damaged.reset();
    if (!fresh->connect())
        return nullptr;
    if (isMoved == 0) {
        const int rows = fresh->takeRowsFrom(aside);
        qCWarning(logStore,
                  "%s was damaged and is made anew with the %d values that could still be read: the damaged "
                  "file is %s, delete it when nothing is missed",
                  name.constData(), rows, QFile::encodeName(aside).constData());
    }
    return fresh;
}

int SqliteDatabase::takeRowsFrom(const QString &damagedPath)
{
    SqliteDatabase damaged(damagedPath, m_durability, m_schema);
    const QByteArray name = QFile::encodeName(damagedPath);
    sqlite3 *raw = nullptr;
    sqlite3_open_v2(name.constData(), &raw, SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX, nullptr);
    damaged.m_database.reset(raw);
    // Reads a file that lost its end.
    damaged.execute("PRAGMA writable_schema=ON");

    int taken = 0;
    auto tables = prepare("SELECT name FROM sqlite_schema WHERE type = 'table' AND name NOT LIKE 'sqlite_%'");
    execute("BEGIN IMMEDIATE");
    while (tables.step() == SqliteStatement::Step::Row) {
        const QByteArray table = tables.text(0).toUtf8();
        // From both ends, each up to what can't be read.
        for (const char *order : {" ORDER BY 1", " ORDER BY 1 DESC"}) {
            auto select = damaged.prepare("SELECT * FROM " + table + order);
            const int columns = select.isValid() ? sqlite3_column_count(select.m_statement.get()) : 0;
            auto insert = prepare("INSERT OR IGNORE INTO " + table + " VALUES(?1" +
                                  QByteArray(",?").repeated(std::max(columns - 1, 0)) + ")");
            auto step = SqliteStatement::Step::Failed;
            while (insert.isValid() && (step = select.step()) == SqliteStatement::Step::Row) {
                for (int column = 0; column < columns; ++column)
                    sqlite3_bind_value(insert.m_statement.get(), column + 1,
                                       sqlite3_column_value(select.m_statement.get(), column));
                taken += insert.run() ? changes() : 0;
                insert.reset();
            }
            if (step == SqliteStatement::Step::Done)
                break;
        }
    }
    tables.reset();
    execute("COMMIT");
    damaged.m_database.reset();
    ::unlink((name + "-shm").constData());
    return taken;
}

} // namespace kelpay

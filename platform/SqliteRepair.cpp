#include "Sqlite.h"

#include "Files.h"
#include "Log.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <sqlite3.h>

#include <algorithm>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

constexpr int folderPatience = 400; // milliseconds
constexpr int copiesKept = 2;

QString folderOf(const QString &path)
{
    return QFileInfo(path).path();
}

// The main file last: what is left half done is still found by its name.
void removeDatabase(const QString &path)
{
    for (const char *suffix : {"-wal", "-shm", "-journal", ""})
        QFile::remove(path + QLatin1String(suffix));
}

// The damaged files that stand beside `path`, oldest first.
QStringList damagedCopies(const QString &path)
{
    QStringList copies;
    const QDir folder(folderOf(path));
    const QString prefix = QFileInfo(path).fileName() + u".damaged-"_s;
    for (const QString &name : folder.entryList(QDir::Files, QDir::Name)) {
        if (name.startsWith(prefix) && name.back().isDigit())
            copies.append(folder.filePath(name));
    }
    return copies;
}

void removeOldCopies(const QString &path)
{
    QStringList copies = damagedCopies(path);
    while (copies.size() > copiesKept)
        removeDatabase(copies.takeFirst());
}

// True where there is nothing of that name.
bool linkIfThere(const QString &from, const QString &to)
{
    return Files::entryAt(from) == Files::Entry::Missing || Files::link(from, to);
}

// What is damaged is still at its path, moved aside in part: all names go back. Who has it open meets the same files.
bool putBack(const QString &path, const QString &aside)
{
    for (const char *suffix : {"-wal", "-shm"}) {
        const QString name = path + QLatin1String(suffix);
        if (Files::entryAt(name) == Files::Entry::Missing && !linkIfThere(aside + QLatin1String(suffix), name))
            return false;
    }
    removeDatabase(aside);
    return true;
}

// Nothing is without a name at any moment, and the new database never meets the old log of changes. Killed before the
// last step, this is undone by the next process that opens the file: see undoInterruptedRepair().
bool replace(const QString &path, const QString &fresh, const QString &aside)
{
    const QString log = u"-wal"_s;
    const QString index = u"-shm"_s;
    const bool isAside = Files::link(path, aside) && linkIfThere(path + log, aside + log) &&
                         linkIfThere(path + index, aside + index) && Files::syncFolder(folderOf(path));
    if (isAside) {
        QFile::remove(path + log);
        QFile::remove(path + index);
    }
    if (!isAside || !Files::replace(fresh, path)) {
        if (Files::isSame(path, aside))
            putBack(path, aside);
        return false;
    }
    QFile::remove(aside + index);
    return true;
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

} // namespace

bool SqliteDatabase::undoInterruptedRepair(const QString &path, bool isPatient)
{
    // A copy that was never replaced by a new database at the path.
    const auto isInterrupted = [&path](const QString &aside) { return Files::isSame(path, aside); };
    const auto any = [&] {
        const QStringList copies = damagedCopies(path);
        return std::any_of(copies.begin(), copies.end(), isInterrupted);
    };
    if (!any())
        return true;
    const Files::FolderLock lock(folderOf(path), isPatient ? folderPatience : 0);
    // The process that repairs may have come to its end meanwhile.
    for (const QString &aside : lock.isHeld() ? damagedCopies(path) : QStringList()) {
        if (isInterrupted(aside))
            putBack(path, aside);
    }
    if (!any())
        return true;
    qCWarning(logStore,
              "%s is being repaired by another process, or that was interrupted and can't be undone: end that process "
              "if it hangs, and check that this user may write there",
              QFile::encodeName(path).constData());
    return false;
}

std::unique_ptr<SqliteDatabase> SqliteDatabase::repair(std::unique_ptr<SqliteDatabase> damaged, bool isPatient)
{
    const QString path = damaged->m_path;
    const Files::FolderLock lock(folderOf(path), isPatient ? folderPatience : 0);
    if (!lock.isHeld())
        qCWarning(logStore, "%s is damaged and another process holds its folder: end that process if it hangs",
                  QFile::encodeName(path).constData());
    damaged->setPatient(isPatient);
    // Another process may have repaired it meanwhile.
    if (!lock.isHeld() || (!damaged->isMoved() && !damaged->replaceByReadableRows()))
        return damaged->keepForReading() ? std::move(damaged) : nullptr;
    std::unique_ptr<SqliteDatabase> fresh(new SqliteDatabase(path, damaged->m_durability, damaged->m_schema));
    damaged.reset();
    return fresh->connect(isPatient) ? std::move(fresh) : nullptr;
}

bool SqliteDatabase::keepForReading()
{
    execute("ROLLBACK");
    return execute("PRAGMA writable_schema=ON; PRAGMA query_only=ON; SELECT 1 FROM sqlite_schema");
}

bool SqliteDatabase::replaceByReadableRows()
{
    const QString fresh = m_path + u".new"_s;
    const QString aside = m_path + u".damaged-"_s + QString::number(QDateTime::currentMSecsSinceEpoch());
    const QByteArray name = QFile::encodeName(m_path);
    // Nobody else writes meanwhile, unless the damage is where it keeps everybody from locking the file. The pragma
    // lets a file be locked that lost its end.
    execute("PRAGMA writable_schema=ON; PRAGMA query_only=OFF");
    if (!execute("BEGIN IMMEDIATE") && (lastError() & 0xff) == SQLITE_BUSY) {
        qCWarning(logStore, "%s is damaged and another process writes to it: end that process if it hangs",
                  name.constData());
        return false;
    }
    removeDatabase(fresh);
    std::optional<int> rows;
    {
        SqliteDatabase database(fresh, m_durability, m_schema);
        if (database.connect(true))
            rows = database.takeRowsFrom(m_path);
        // All in one file.
        if (rows && !database.execute("PRAGMA journal_mode=DELETE"))
            rows = std::nullopt;
    }
    // Closing left them there.
    QFile::remove(fresh + u"-wal"_s);
    QFile::remove(fresh + u"-shm"_s);
    if (!rows || !replace(m_path, fresh, aside)) {
        qCWarning(logStore,
                  "%s is damaged and can't be replaced: check that the disk has room and that this user may write "
                  "there",
                  name.constData());
        removeDatabase(fresh);
        return false;
    }
    removeOldCopies(m_path);
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
                sqlite3_reset(insert.m_statement.get());
            }
            if (step == SqliteStatement::Step::Done)
                break;
            if (isPassing(damaged.lastError()))
                return std::nullopt;
        }
    }
    sqlite3_reset(tables.m_statement.get());
    return execute("COMMIT") ? std::optional(taken) : std::nullopt;
}

} // namespace kelpay

#include "UserDefaults.h"

#include "Formats.h"
#include "Log.h"
#include "Sqlite.h"
#include "StateFolder.h"

#include <QFile>

#include <map>
#include <mutex>

namespace kelpay {

namespace {

constexpr const char *schema = "CREATE TABLE IF NOT EXISTS defaults("
                               "key TEXT PRIMARY KEY, type INTEGER NOT NULL, value NOT NULL) WITHOUT ROWID";

// A text counts as the integer it begins with, as everywhere else; SQLite's CAST reads it the same way.
#define STORED_NUMBER "CASE type WHEN 2 THEN value WHEN 1 THEN CAST(CAST(value AS TEXT) AS INTEGER) ELSE 0 END"
constexpr const char *incrementSql = "INSERT INTO defaults(key, type, value) VALUES(?1, 2, 1) ON CONFLICT(key) "
                                     "DO UPDATE SET type = 2, value = " STORED_NUMBER " + 1 RETURNING value";
constexpr const char *raiseSql = "INSERT INTO defaults(key, type, value) VALUES(?1, ?2, ?3) ON CONFLICT(key) "
                                 "DO UPDATE SET type = ?2, value = MAX(?3, " STORED_NUMBER ")";
#undef STORED_NUMBER

} // namespace

struct UserDefaults::Impl
{
    enum class Type { Text = 1, Number = 2, Data = 3 };
    struct Value
    {
        Type type = Type::Text;
        Bytes bytes;
        qint64 number = 0;
        /// Counted up from the file's number: other processes may have counted further, so it never lowers that.
        bool isCounted = false;
    };
    struct File
    {
        std::unique_ptr<SqliteDatabase> database;
        SqliteStatement selectStatement;
        SqliteStatement writeStatement;
        SqliteStatement raiseStatement;
        SqliteStatement removeStatement;
        SqliteStatement incrementStatement;
    };

    explicit Impl(QString where) : path(std::move(where)) {}

    const QString path;
    std::mutex mutex;
    std::optional<File> file;
    /// The file could not be opened: no call waits for it until one opens it.
    bool isGivenUp = false;
    /// What could not be written to the file; std::nullopt stands for a removed key.
    std::map<QString, std::optional<Value>> memory;

    std::optional<Value> read(const QString &key);
    void write(const QString &key, const std::optional<Value> &value);
    bool writeToFile(const QString &key, const std::optional<Value> &value);
    std::optional<qint64> incrementInFile(const QString &key);
    void writeKept();
    void keep(const QString &key, const std::optional<Value> &value);
    void adopt(std::unique_ptr<SqliteDatabase> database);
    bool open();
    template <typename Action> bool attempt(const char *what, Action action);
};

void UserDefaults::Impl::adopt(std::unique_ptr<SqliteDatabase> database)
{
    if (!database)
        return;
    File opened;
    opened.selectStatement = database->prepare("SELECT type, value FROM defaults WHERE key = ?1");
    opened.writeStatement = database->prepare("INSERT INTO defaults(key, type, value) VALUES(?1, ?2, ?3) "
                                              "ON CONFLICT(key) DO UPDATE SET type = ?2, value = ?3");
    opened.removeStatement = database->prepare("DELETE FROM defaults WHERE key = ?1");
    opened.incrementStatement = database->prepare(incrementSql);
    opened.raiseStatement = database->prepare(raiseSql);
    opened.database = std::move(database);
    file = std::move(opened);
}

// The file that is at the path now, repaired if need be.
bool UserDefaults::Impl::open()
{
    if (file && file->database->isDamaged()) {
        auto damaged = std::move(file->database);
        file.reset();
        adopt(SqliteDatabase::repair(std::move(damaged)));
    } else if (!file || !file->database->isCurrent()) {
        file.reset();
        // One wait for a process that hangs is enough, here and below.
        const bool isPatient = !isGivenUp && memory.empty();
        adopt(SqliteDatabase::open(path, SqliteDatabase::Durability::SurvivesKill, schema, isPatient));
        isGivenUp = !file;
    }
    return file.has_value();
}

// Runs `action` on the file that is at the path now, once more if that was repaired meanwhile, by this process or
// another one; false when that failed. So an action may be done twice.
template <typename Action> bool UserDefaults::Impl::attempt(const char *what, Action action)
{
    if (path.isEmpty())
        return false;
    for (int run = 0; run < 2 && open(); ++run) {
        SqliteDatabase &database = *file->database;
        database.setPatient(memory.empty() && !database.isLeftDamaged());
        const bool isDone = action(*file);
        if (!isDone)
            database.noteFailure(what);
        if (database.isLeftDamaged() || (!database.isDamaged() && !database.isMoved()))
            return isDone;
    }
    return false;
}

std::optional<UserDefaults::Impl::Value> UserDefaults::Impl::read(const QString &key)
{
    if (const auto kept = memory.find(key); kept != memory.end())
        return kept->second;
    const QByteArray name = key.toUtf8();
    std::optional<Value> value;
    attempt("read", [&](File &in) {
        auto &statement = in.selectStatement;
        statement.bind(1, std::string_view(name));
        const auto step = statement.step();
        if (step == SqliteStatement::Step::Row) {
            const auto type = static_cast<Type>(statement.integer(0));
            if (type == Type::Number)
                value = Value{.type = type, .bytes = {}, .number = statement.integer(1)};
            else if (type == Type::Text || type == Type::Data)
                value = Value{.type = type, .bytes = statement.bytes(1)};
        }
        statement.reset();
        return step != SqliteStatement::Step::Failed;
    });
    return value;
}

bool UserDefaults::Impl::writeToFile(const QString &key, const std::optional<Value> &value)
{
    const QByteArray name = key.toUtf8();
    return attempt("written", [&](File &in) {
        SqliteStatement &statement = !value             ? in.removeStatement
                                     : value->isCounted ? in.raiseStatement
                                                        : in.writeStatement;
        statement.bind(1, std::string_view(name));
        if (value) {
            statement.bind(2, static_cast<std::int64_t>(value->type));
            if (value->type == Type::Number)
                statement.bind(3, std::int64_t{value->number});
            else
                statement.bind(3, value->bytes);
        }
        const bool written = statement.run();
        statement.reset();
        return written;
    });
}

std::optional<qint64> UserDefaults::Impl::incrementInFile(const QString &key)
{
    const QByteArray name = key.toUtf8();
    qint64 number = 0;
    const bool isDone = attempt("written", [&](File &in) {
        auto &statement = in.incrementStatement;
        const bool stepped = statement.bind(1, std::string_view(name)).step() == SqliteStatement::Step::Row;
        number = stepped ? statement.integer(0) : 0;
        const bool written = stepped && statement.run();
        statement.reset();
        return written;
    });
    return isDone ? std::optional(number) : std::nullopt;
}

// The file took a value: it may take now what it could not take before.
void UserDefaults::Impl::writeKept()
{
    while (!memory.empty() && writeToFile(memory.begin()->first, memory.begin()->second))
        memory.erase(memory.begin());
}

void UserDefaults::Impl::keep(const QString &key, const std::optional<Value> &value)
{
    memory[key] = value;
    if (!path.isEmpty())
        qCWarning(logStore, "a user default lives in memory until %s takes values again or this process ends",
                  QFile::encodeName(path).constData());
}

void UserDefaults::Impl::write(const QString &key, const std::optional<Value> &value)
{
    if (writeToFile(key, value)) {
        memory.erase(key);
        writeKept();
    } else {
        keep(key, value);
    }
}

UserDefaults::UserDefaults(const QString &path) : m_impl(std::make_unique<Impl>(path)) {}

UserDefaults::~UserDefaults() = default;

UserDefaults &UserDefaults::standard()
{
    static UserDefaults defaults([] {
        const auto folder = stateFolder();
        return folder ? *folder + QStringLiteral("/defaults.sqlite") : QString();
    }());
    return defaults;
}

std::optional<Bytes> UserDefaults::utf8(const QString &key) const
{
    const std::scoped_lock lock(m_impl->mutex);
    auto value = m_impl->read(key);
    if (!value || value->type == Impl::Type::Data)
        return std::nullopt;
    return value->type == Impl::Type::Text ? value->bytes : Bytes::fromText(QString::number(value->number));
}

std::optional<QString> UserDefaults::string(const QString &key) const
{
    const auto text = utf8(key);
    return text ? std::optional(text->toText()) : std::nullopt;
}

std::optional<qint64> UserDefaults::integer(const QString &key) const
{
    const std::scoped_lock lock(m_impl->mutex);
    const auto value = m_impl->read(key);
    if (!value || value->type == Impl::Type::Data)
        return std::nullopt;
    return value->type == Impl::Type::Number ? value->number : integerValue(value->bytes.toText());
}

std::optional<Bytes> UserDefaults::data(const QString &key) const
{
    const std::scoped_lock lock(m_impl->mutex);
    auto value = m_impl->read(key);
    return value && value->type == Impl::Type::Data ? std::optional(value->bytes) : std::nullopt;
}

void UserDefaults::setString(const QString &key, const QString &value)
{
    setUtf8(key, Bytes::fromText(value));
}

void UserDefaults::setUtf8(const QString &key, const Bytes &value)
{
    const std::scoped_lock lock(m_impl->mutex);
    m_impl->write(key, Impl::Value{.type = Impl::Type::Text, .bytes = value});
}

void UserDefaults::setInteger(const QString &key, qint64 value)
{
    const std::scoped_lock lock(m_impl->mutex);
    m_impl->write(key, Impl::Value{.type = Impl::Type::Number, .bytes = {}, .number = value});
}

void UserDefaults::setData(const QString &key, const Bytes &value)
{
    const std::scoped_lock lock(m_impl->mutex);
    m_impl->write(key, Impl::Value{.type = Impl::Type::Data, .bytes = value});
}

void UserDefaults::remove(const QString &key)
{
    const std::scoped_lock lock(m_impl->mutex);
    m_impl->write(key, std::nullopt);
}

qint64 UserDefaults::increment(const QString &key)
{
    const std::scoped_lock lock(m_impl->mutex);
    if (const auto kept = m_impl->memory.find(key);
        kept != m_impl->memory.end() && m_impl->writeToFile(key, kept->second))
        m_impl->memory.erase(kept);
    if (!m_impl->memory.contains(key)) {
        if (const auto number = m_impl->incrementInFile(key)) {
            m_impl->writeKept();
            return *number;
        }
    }
    const auto kept = m_impl->memory.find(key);
    const bool isCounted = kept == m_impl->memory.end() || (kept->second && kept->second->isCounted);
    const auto before = m_impl->read(key);
    const qint64 number =
        (before && before->type != Impl::Type::Data
             ? (before->type == Impl::Type::Number ? before->number : integerValue(before->bytes.toText()))
             : 0) +
        1;
    m_impl->keep(key, Impl::Value{.type = Impl::Type::Number, .bytes = {}, .number = number, .isCounted = isCounted});
    return number;
}

} // namespace kelpay

#include "UserDefaults.h"

#include "Formats.h"
#include "Log.h"
#include "SqliteStore.h"
#include "StateFolder.h"

#include <QFile>

#include <map>
#include <mutex>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

constexpr const char *schema = "CREATE TABLE IF NOT EXISTS defaults("
                               "key TEXT PRIMARY KEY, type INTEGER NOT NULL, value NOT NULL) WITHOUT ROWID";

constexpr const char *selectSql = "SELECT type, value FROM defaults WHERE key = ?1";
constexpr const char *writeSql = "INSERT INTO defaults(key, type, value) VALUES(?1, ?2, ?3) "
                                 "ON CONFLICT(key) DO UPDATE SET type = ?2, value = ?3";
constexpr const char *removeSql = "DELETE FROM defaults WHERE key = ?1";

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

    explicit Impl(const QString &path)
    {
        if (!path.isEmpty())
            store.emplace(path, SqliteStore::Durability::SurvivesKill, schema);
    }

    std::mutex mutex;
    /// None for defaults in memory only.
    std::optional<SqliteStore> store;
    /// The last call got what it asked of the file.
    bool isReached = true;
    /// What could not be written to the file; std::nullopt stands for a removed key.
    std::map<QString, std::optional<Value>> memory;

    std::optional<Value> read(const QString &key);
    void write(const QString &key, const std::optional<Value> &value);
    bool writeToFile(const QString &key, const std::optional<Value> &value);
    std::optional<qint64> incrementInFile(const QString &key);
    void writeKept();
    void keep(const QString &key, const std::optional<Value> &value);
    template <class Action> auto run(Action action);
};

// Waits for a process that hangs once, not again at each call.
template <class Action> auto UserDefaults::Impl::run(Action action)
{
    decltype(store->run(action)) result;
    if (!store)
        return result;
    result = store->run(action, memory.empty() && isReached ? SqliteStore::Wait::Patiently : SqliteStore::Wait::Never);
    isReached = result.has_value();
    return result;
}

std::optional<UserDefaults::Impl::Value> UserDefaults::Impl::read(const QString &key)
{
    if (const auto kept = memory.find(key); kept != memory.end())
        return kept->second;
    const auto found = run([&key](SqliteDatabase &database) -> std::optional<Value> {
        auto select = database.prepare(selectSql);
        if (select.bind(1, key).step() != SqliteStatement::Step::Row || select.isNull(1))
            return std::nullopt;
        const auto type = static_cast<Type>(select.integer(0));
        if (type == Type::Number)
            return Value{.type = type, .bytes = {}, .number = select.integer(1)};
        if (type == Type::Text || type == Type::Data)
            return Value{.type = type, .bytes = select.bytes(1)};
        return std::nullopt;
    });
    return found.value_or(std::nullopt);
}

bool UserDefaults::Impl::writeToFile(const QString &key, const std::optional<Value> &value)
{
    const auto write = [&](SqliteDatabase &database) {
        SqliteTransaction transaction(database);
        if (!transaction.isOpen())
            return false;
        auto statement = database.prepare(!value ? removeSql : value->isCounted ? raiseSql : writeSql);
        statement.bind(1, key);
        if (value) {
            statement.bind(2, static_cast<std::int64_t>(value->type));
            if (value->type == Type::Number)
                statement.bind(3, std::int64_t{value->number});
            else
                statement.bind(3, value->bytes);
        }
        return statement.run() && transaction.commit();
    };
    return run(write).value_or(false);
}

std::optional<qint64> UserDefaults::Impl::incrementInFile(const QString &key)
{
    return run([&key](SqliteDatabase &database) -> qint64 {
        SqliteTransaction transaction(database);
        if (!transaction.isOpen())
            return 0;
        auto statement = database.prepare(incrementSql);
        if (statement.bind(1, key).step() != SqliteStatement::Step::Row)
            return 0;
        const qint64 number = statement.integer(0);
        return statement.run() && transaction.commit() ? number : 0;
    });
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
    if (store)
        qCWarning(logStore, "a user default lives in memory until %s takes values again or this process ends",
                  QFile::encodeName(store->path()).constData());
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
        return folder ? *folder + u"/defaults.sqlite"_s : QString();
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

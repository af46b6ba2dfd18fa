#include "UserDefaults.h"

#include "Formats.h"
#include "Log.h"
#include "Sqlite.h"
#include "StateFolder.h"

#include <map>
#include <mutex>

namespace kelpay {

namespace {

constexpr const char *schema = "CREATE TABLE IF NOT EXISTS defaults("
                               "key TEXT PRIMARY KEY, type INTEGER NOT NULL, value NOT NULL) WITHOUT ROWID";

} // namespace

struct UserDefaults::Impl
{
    enum class Type { Text = 1, Number = 2, Data = 3 };
    struct Value
    {
        Type type = Type::Text;
        Bytes bytes;
        qint64 number = 0;
    };

    std::mutex mutex;
    std::unique_ptr<SqliteDatabase> database;
    SqliteStatement selectStatement;
    SqliteStatement writeStatement;
    SqliteStatement removeStatement;
    SqliteStatement incrementStatement;
    /// What could not be written to the file; std::nullopt stands for a removed key.
    std::map<QString, std::optional<Value>> memory;

    std::optional<Value> read(const QString &key);
    void write(const QString &key, const std::optional<Value> &value);
    bool writeToFile(const QString &key, const std::optional<Value> &value);
};

std::optional<UserDefaults::Impl::Value> UserDefaults::Impl::read(const QString &key)
{
    if (const auto kept = memory.find(key); kept != memory.end())
        return kept->second;
    if (!database)
        return std::nullopt;
    const QByteArray name = key.toUtf8();
    selectStatement.bind(1, std::string_view(name));
    std::optional<Value> value;
    if (selectStatement.step() == SqliteStatement::Step::Row) {
        value.emplace();
        value->type = static_cast<Type>(selectStatement.integer(0));
        if (value->type == Type::Number)
            value->number = selectStatement.integer(1);
        else
            value->bytes = selectStatement.bytes(1);
    }
    selectStatement.reset();
    return value;
}

bool UserDefaults::Impl::writeToFile(const QString &key, const std::optional<Value> &value)
{
    if (!database)
        return false;
    const QByteArray name = key.toUtf8();
    SqliteStatement &statement = value ? writeStatement : removeStatement;
    statement.bind(1, std::string_view(name));
    if (value) {
        statement.bind(2, static_cast<std::int64_t>(value->type));
        if (value->type == Type::Number)
            statement.bind(3, std::int64_t{value->number});
        else
            statement.bind(3, value->bytes);
    }
    const bool written = statement.run();
    if (!written)
        database->logFailure("written; the value is kept in memory for this process");
    statement.reset();
    return written;
}

void UserDefaults::Impl::write(const QString &key, const std::optional<Value> &value)
{
    if (writeToFile(key, value))
        memory.erase(key);
    else
        memory[key] = value;
}

UserDefaults::UserDefaults(const QString &path) : m_impl(std::make_unique<Impl>())
{
    if (path.isEmpty())
        return;
    auto database = SqliteDatabase::open(path, SqliteDatabase::Durability::SurvivesKill, schema);
    if (!database) {
        qCWarning(logStore, "user defaults live in memory until this process ends");
        return;
    }
    m_impl->selectStatement = database->prepare("SELECT type, value FROM defaults WHERE key = ?1");
    m_impl->writeStatement = database->prepare("INSERT INTO defaults(key, type, value) VALUES(?1, ?2, ?3) "
                                               "ON CONFLICT(key) DO UPDATE SET type = ?2, value = ?3");
    m_impl->removeStatement = database->prepare("DELETE FROM defaults WHERE key = ?1");
    // A text counts as the integer it begins with, as everywhere else; SQLite's CAST reads it the same way.
    m_impl->incrementStatement = database->prepare(
        "INSERT INTO defaults(key, type, value) VALUES(?1, 2, 1) ON CONFLICT(key) DO UPDATE SET "
        "type = 2, value = CASE type WHEN 2 THEN value WHEN 1 THEN CAST(CAST(value AS TEXT) AS INTEGER) "
        "ELSE 0 END + 1 RETURNING value");
    m_impl->database = std::move(database);
}

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
    if (m_impl->database && !m_impl->memory.contains(key)) {
        const QByteArray name = key.toUtf8();
        m_impl->incrementStatement.bind(1, std::string_view(name));
        const bool stepped = m_impl->incrementStatement.step() == SqliteStatement::Step::Row;
        const qint64 number = stepped ? m_impl->incrementStatement.integer(0) : 0;
        const bool written = stepped && m_impl->incrementStatement.run();
        m_impl->incrementStatement.reset();
        if (written)
            return number;
        m_impl->database->logFailure("written; the value is kept in memory for this process");
    }
    const auto before = m_impl->read(key);
    const qint64 number =
        (before && before->type != Impl::Type::Data
             ? (before->type == Impl::Type::Number ? before->number : integerValue(before->bytes.toText()))
             : 0) +
        1;
    m_impl->memory[key] = Impl::Value{.type = Impl::Type::Number, .bytes = {}, .number = number};
    return number;
}

} // namespace kelpay

#pragma once

#include "Sqlite.h"

#include <functional>
#include <mutex>
#include <type_traits>

namespace kelpay {

/// A database file that several processes share and that outlives them: opened when first used, and again when it was
/// replaced or became writable; repaired when damaged. Any thread; one action at a time, and none inside another.
///
///     const std::optional<qint64> count = store.run([](SqliteDatabase &database) {
///         auto select = database.prepare("SELECT count(*) FROM attempts");
///         return select.step() == SqliteStatement::Step::Row ? select.integer(0) : 0;
///     });
class SqliteStore
{
public:
    using Durability = SqliteDatabase::Durability;
    /// `schema` makes the tables unless they are there.
    SqliteStore(QString path, Durability durability, const char *schema)
        : m_path(std::move(path)), m_durability(durability), m_schema(schema)
    {}

    const QString &path() const noexcept { return m_path; }

    /// How long a call waits for another process: 0.8 s at most, longer where it repairs, or not at all.
    enum class Wait { Patiently, Never };
    /// Runs `action` on the database and gives what it returned; std::nullopt, with a log line, where the database
    /// could not be had or a statement failed. Damage that shows meanwhile is repaired and the action runs once more,
    /// so what it writes belongs into a SqliteTransaction. A database that can't be repaired now is read as far as it
    /// goes and takes no writes.
    template <class Action>
    auto run(Action action, Wait wait = Wait::Patiently)
        -> std::optional<std::invoke_result_t<Action, SqliteDatabase &>>
    {
        std::optional<std::invoke_result_t<Action, SqliteDatabase &>> result;
        const bool isDone = attempt([&](SqliteDatabase &database) { result.emplace(action(database)); }, wait);
        return isDone ? std::move(result) : std::nullopt;
    }

private:
    bool attempt(const std::function<void(SqliteDatabase &)> &action, Wait wait);
    bool open(bool isPatient, bool isRepairPatient);

    QString m_path;
    Durability m_durability;
    const char *m_schema;
    std::mutex m_mutex;
    std::unique_ptr<SqliteDatabase> m_database;
};

} // namespace kelpay

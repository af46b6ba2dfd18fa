#include "security/keychain/FileKeychain.h"

#include "platform/Log.h"
#include "platform/StateFolder.h"
#include "security/SecStatus.h"
#include "security/keychain/KeychainContext.h"
#include "security/keychain/MasterKey.h"
#include "security/keychain/SealedValue.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

// "part" is the access group: GROUP is a word of SQL.
constexpr const char *schema =
    "CREATE TABLE IF NOT EXISTS items(id INTEGER PRIMARY KEY AUTOINCREMENT, class INTEGER NOT NULL, "
    "service TEXT NOT NULL, part TEXT NOT NULL, account TEXT NOT NULL, label TEXT NOT NULL, "
    "attributes TEXT NOT NULL, value BLOB, UNIQUE(class, service, part, account, label))";

#define MATCHING                                                                                                       \
    " FROM items WHERE class = ?1 AND (?2 IS NULL OR service = ?2) AND (?3 IS NULL OR part = ?3) "                     \
    "AND (?4 IS NULL OR account = ?4)"
constexpr const char *selectOne =
    "SELECT id, class, service, part, account, label, attributes, value" MATCHING " ORDER BY id LIMIT 1";
constexpr const char *selectAll =
    "SELECT id, class, service, part, account, label, attributes, value" MATCHING " ORDER BY id";
constexpr const char *deleteAll = "DELETE" MATCHING;
#undef MATCHING

struct KeychainRow
{
    std::int64_t id = 0;
    KeychainItem item;
    std::optional<Bytes> sealed;
};

SqliteStatement prepared(SqliteDatabase &database, const char *sql, const KeychainMatch &match)
{
    auto statement = database.prepare(sql);
    statement.bind(1, static_cast<std::int64_t>(match.itemClass));
    int index = 1;
    for (const auto &text : {match.service, match.accessGroup, match.account}) {
        ++index;
        if (text)
            statement.bind(index, *text);
    }
    return statement;
}

std::vector<KeychainRow> rows(SqliteDatabase &database, const char *sql, const KeychainMatch &match)
{
    auto statement = prepared(database, sql, match);
    std::vector<KeychainRow> rows;
    while (statement.step() == SqliteStatement::Step::Row) {
        const auto attributes = QJsonDocument::fromJson(statement.text(6).toUtf8()).object().toVariantMap();
        KeychainRow row{statement.integer(0),
                        {static_cast<KeychainItemClass>(statement.integer(1)), statement.text(2), statement.text(3),
                         statement.text(4), statement.text(5), attributes, std::nullopt},
                        std::nullopt};
        if (!statement.isNull(7))
            row.sealed = statement.bytes(7);
        rows.push_back(std::move(row));
    }
    return rows;
}

// std::nullopt where the file can't be read.
std::optional<std::vector<KeychainRow>> rows(SqliteStore *store, const char *sql, const KeychainMatch &match)
{
    if (!store)
        return std::nullopt;
    return store->run([&](SqliteDatabase &database) { return rows(database, sql, match); });
}

} // namespace

SqliteStore *FileKeychain::store()
{
    const std::scoped_lock lock(m_mutex);
    if (m_folder.isEmpty())
        m_folder = stateFolder().value_or(QString());
    if (!m_store && !m_folder.isEmpty())
        m_store.emplace(m_folder + u"/keychain.sqlite"_s, SqliteStore::Durability::SurvivesPowerLoss, schema);
    return m_store ? &*m_store : nullptr;
}

// Runs `operation` under the write lock; what it did stays when it gives Success.
template <class Operation> int FileKeychain::write(Operation operation)
{
    const auto locked = [&operation](SqliteDatabase &database) -> int {
        SqliteTransaction transaction(database);
        const int status = transaction.isOpen() ? operation(database) : SecStatus::NotAvailable;
        return status == SecStatus::Success && !transaction.commit() ? SecStatus::NotAvailable : status;
    };
    SqliteStore *const file = store();
    return (file ? file->run(locked) : std::nullopt).value_or(SecStatus::NotAvailable);
}

QString FileKeychain::keyPath() const
{
    return m_folder + u"/keychain.key"_s;
}

int FileKeychain::insert(SqliteDatabase &database, const KeychainItem &item) const
{
    std::optional<Bytes> sealed;
    if (item.value) {
        const auto key = MasterKey(keyPath()).readOrMake();
        sealed = key ? sealValue(*key, *item.value, contextOf(item)) : std::nullopt;
        if (!sealed)
            return SecStatus::NotAvailable;
    }
    auto statement = database.prepare("INSERT INTO items(class, service, part, account, label, attributes, value) "
                                      "VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7)");
    statement.bind(1, static_cast<std::int64_t>(item.itemClass))
        .bind(2, item.service)
        .bind(3, item.accessGroup)
        .bind(4, item.account)
        .bind(5, item.label)
        .bind(6, QString::fromUtf8(
                     QJsonDocument(QJsonObject::fromVariantMap(item.attributes)).toJson(QJsonDocument::Compact)));
    if (sealed)
        statement.bind(7, *sealed);
    switch (statement.step()) {
    case SqliteStatement::Step::Done:
        return SecStatus::Success;
    case SqliteStatement::Step::Duplicate:
        return SecStatus::DuplicateItem;
    default:
        return SecStatus::NotAvailable;
    }
}

int FileKeychain::add(const std::vector<KeychainItem> &items)
{
    return write([&](SqliteDatabase &database) {
        int status = SecStatus::Success;
        for (auto item = items.begin(); item != items.end() && status == SecStatus::Success; ++item)
            status = insert(database, *item);
        return status;
    });
}

int FileKeychain::update(const KeychainMatch &match, const Bytes &value)
{
    return write([&](SqliteDatabase &database) -> int {
        const auto found = rows(database, selectAll, match);
        if (found.empty())
            return SecStatus::ItemNotFound;
        const auto key = MasterKey(keyPath()).readOrMake();
        for (const auto &row : found) {
            // A value that is there already costs no sync.
            if (key && row.sealed && openValue(*key, *row.sealed, contextOf(row.item)) == value)
                continue;
            const auto sealed = key ? sealValue(*key, value, contextOf(row.item)) : std::nullopt;
            auto statement = database.prepare("UPDATE items SET value = ?2 WHERE id = ?1");
            if (!sealed || !statement.bind(1, row.id).bind(2, *sealed).run())
                return SecStatus::NotAvailable;
        }
        return SecStatus::Success;
    });
}

int FileKeychain::remove(const KeychainMatch &match)
{
    return write([&](SqliteDatabase &database) -> int {
        if (!prepared(database, deleteAll, match).run())
            return SecStatus::NotAvailable;
        return database.changes() > 0 ? SecStatus::Success : SecStatus::ItemNotFound;
    });
}

int FileKeychain::readValue(KeychainItem &item, const Bytes &sealed) const
{
    const auto [state, key] = MasterKey(keyPath()).read();
    if (state == MasterKey::State::Unreadable) {
        qCWarning(logStore, "the keychain's key %s can't be read: give this user its file back, mode 0600",
                  QFile::encodeName(keyPath()).constData());
        return SecStatus::NotAvailable;
    }
    item.value = key ? openValue(*key, sealed, contextOf(item)) : std::nullopt;
    if (item.value)
        return SecStatus::Success;
    qCWarning(logStore, "a value in the keychain %s is damaged, or its key beside it is: store the value again",
              QFile::encodeName(m_folder).constData());
    return SecStatus::Decode;
}

KeychainFound FileKeychain::findOne(const KeychainMatch &match, Content content)
{
    auto found = rows(store(), selectOne, match);
    if (!found)
        return {SecStatus::NotAvailable};
    if (found->empty())
        return {SecStatus::ItemNotFound};
    KeychainRow &row = found->front();
    if (content == Content::Value && row.sealed) {
        if (const int status = readValue(row.item, *row.sealed); status != SecStatus::Success)
            return {status};
    }
    return {SecStatus::Success, {row.item}};
}

KeychainFound FileKeychain::findAll(const KeychainMatch &match)
{
    const auto found = rows(store(), selectAll, match);
    if (!found)
        return {SecStatus::NotAvailable};
    KeychainFound result{found->empty() ? SecStatus::ItemNotFound : SecStatus::Success};
    for (const auto &row : *found)
        result.items.push_back(row.item);
    return result;
}

} // namespace kelpay

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

#include <sqlite3.h>

namespace kelpay {

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

// A write lock on the database, for this and all other processes; undone unless committed. Not open on a file that
// another process replaced while this one waited for the lock.
class Transaction
{
public:
    explicit Transaction(SqliteDatabase &database) : m_database(database), m_isOpen(database.execute("BEGIN IMMEDIATE"))
    {
        if (!m_isOpen) {
            m_database.noteFailure("written");
        } else if (m_database.isMoved()) {
            m_database.execute("ROLLBACK");
            m_isOpen = false;
        }
    }
    Transaction(const Transaction &) = delete;
    Transaction &operator=(const Transaction &) = delete;
    ~Transaction()
    {
        if (m_isOpen)
            m_database.execute("ROLLBACK");
    }
    bool isOpen() const { return m_isOpen; }
    int commit()
    {
        if (!m_database.execute("COMMIT")) {
            m_database.noteFailure("written");
            return SecStatus::NotAvailable;
        }
        m_isOpen = false;
        return SecStatus::Success;
    }

private:
    SqliteDatabase &m_database;
    bool m_isOpen;
};

// The texts of a match, kept alive while a statement runs.
struct BoundMatch
{
    explicit BoundMatch(const KeychainMatch &match)
        : texts{utf8(match.service), utf8(match.accessGroup), utf8(match.account)}
        , itemClass(static_cast<std::int64_t>(match.itemClass))
    {}

    void bindTo(SqliteStatement &statement) const
    {
        statement.bind(1, itemClass);
        for (std::size_t i = 0; i < texts.size(); ++i) {
            if (texts[i])
                statement.bind(static_cast<int>(i) + 2, std::string_view(*texts[i]));
        }
    }

    static std::optional<QByteArray> utf8(const std::optional<QString> &text)
    {
        return text ? std::optional(text->toUtf8()) : std::nullopt;
    }

    std::array<std::optional<QByteArray>, 3> texts;
    std::int64_t itemClass;
};

int statusOf(int status)
{
    return status;
}

int statusOf(const KeychainFound &found)
{
    return found.status;
}

} // namespace

struct FileKeychain::Row
{
    std::int64_t id = 0;
    KeychainItem item;
    std::optional<Bytes> sealed;
};

bool FileKeychain::open()
{
    if (m_database && m_database->isDamaged()) {
        m_database = SqliteDatabase::repair(std::move(m_database));
        return m_database != nullptr;
    }
    if (m_database && m_database->isCurrent())
        return true;
    m_database.reset();
    if (m_folder.isEmpty())
        m_folder = stateFolder().value_or(QString());
    if (!m_folder.isEmpty())
        m_database = SqliteDatabase::open(m_folder + QStringLiteral("/keychain.sqlite"),
                                          SqliteDatabase::Durability::SurvivesPowerLoss, schema);
    return m_database != nullptr;
}

// Runs `operation` on the open database, once more if that was repaired meanwhile, by this process or another one.
template <typename Operation> auto FileKeychain::attempt(Operation operation)
{
    using Result = decltype(operation());
    const std::scoped_lock lock(m_mutex);
    Result result{SecStatus::NotAvailable};
    for (int run = 0; run < 2 && open(); ++run) {
        result = operation();
        if (m_database->isLeftDamaged() || statusOf(result) != SecStatus::NotAvailable ||
            (!m_database->isDamaged() && !m_database->isMoved()))
            break;
    }
    return result;
}

QString FileKeychain::keyPath() const
{
    return m_folder + QStringLiteral("/keychain.key");
}

std::optional<std::vector<FileKeychain::Row>> FileKeychain::rows(const char *sql, const KeychainMatch &match)
{
    const BoundMatch bound(match);
    auto statement = m_database->prepare(sql);
    if (!statement.isValid())
        return std::nullopt;
    bound.bindTo(statement);
    std::vector<Row> rows;
    auto step = statement.step();
    for (; step == SqliteStatement::Step::Row; step = statement.step()) {
        const auto attributes = QJsonDocument::fromJson(statement.text(6).toUtf8()).object().toVariantMap();
        Row row{statement.integer(0),
                {static_cast<KeychainItemClass>(statement.integer(1)), statement.text(2), statement.text(3),
                 statement.text(4), statement.text(5), attributes, std::nullopt},
                std::nullopt};
        if (!statement.isNull(7))
            row.sealed = statement.bytes(7);
        rows.push_back(std::move(row));
    }
    if (step == SqliteStatement::Step::Done)
        return rows;
    m_database->noteFailure("read");
    return std::nullopt;
}

int FileKeychain::insert(const KeychainItem &item)
{
    std::optional<Bytes> sealed;
    if (item.value) {
        const auto key = MasterKey(keyPath()).readOrMake();
        sealed = key ? sealValue(*key, *item.value, contextOf(item)) : std::nullopt;
        if (!sealed)
            return SecStatus::NotAvailable;
    }
    auto statement = m_database->prepare("INSERT INTO items(class, service, part, account, label, attributes, value) "
                                         "VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7)");
    if (!statement.isValid())
        return SecStatus::NotAvailable;
    const std::array texts{item.service.toUtf8(), item.accessGroup.toUtf8(), item.account.toUtf8(), item.label.toUtf8(),
                           QJsonDocument(QJsonObject::fromVariantMap(item.attributes)).toJson(QJsonDocument::Compact)};
    statement.bind(1, static_cast<std::int64_t>(item.itemClass));
    for (std::size_t i = 0; i < texts.size(); ++i)
        statement.bind(static_cast<int>(i) + 2, std::string_view(texts[i]));
    if (sealed)
        statement.bind(7, *sealed);
    if (statement.run())
        return SecStatus::Success;
    if (m_database->lastError() == SQLITE_CONSTRAINT_UNIQUE)
        return SecStatus::DuplicateItem;
    m_database->noteFailure("written");
    return SecStatus::NotAvailable;
}

int FileKeychain::addAll(const std::vector<KeychainItem> &items)
{
    Transaction transaction(*m_database);
    if (!transaction.isOpen())
        return SecStatus::NotAvailable;
    for (const auto &item : items) {
        if (const int status = insert(item); status != SecStatus::Success)
            return status;
    }
    return transaction.commit();
}

int FileKeychain::add(const std::vector<KeychainItem> &items)
{
    return attempt([&] { return addAll(items); });
}

int FileKeychain::updateAll(const KeychainMatch &match, const Bytes &value)
{
    Transaction transaction(*m_database);
    const auto found = transaction.isOpen() ? rows(selectAll, match) : std::nullopt;
    if (!found)
        return SecStatus::NotAvailable;
    if (found->empty())
        return SecStatus::ItemNotFound;
    const auto key = MasterKey(keyPath()).readOrMake();
    for (const auto &row : *found) {
        const auto sealed = key ? sealValue(*key, value, contextOf(row.item)) : std::nullopt;
        if (!sealed)
            return SecStatus::NotAvailable;
        auto statement = m_database->prepare("UPDATE items SET value = ?2 WHERE id = ?1");
        if (!statement.isValid())
            return SecStatus::NotAvailable;
        if (!statement.bind(1, row.id).bind(2, *sealed).run()) {
            m_database->noteFailure("written");
            return SecStatus::NotAvailable;
        }
    }
    return transaction.commit();
}

int FileKeychain::update(const KeychainMatch &match, const Bytes &value)
{
    return attempt([&] { return updateAll(match, value); });
}

int FileKeychain::removeAll(const KeychainMatch &match)
{
    Transaction transaction(*m_database);
    if (!transaction.isOpen())
        return SecStatus::NotAvailable;
    const BoundMatch bound(match);
    auto statement = m_database->prepare(deleteAll);
    if (!statement.isValid())
        return SecStatus::NotAvailable;
    bound.bindTo(statement);
    if (!statement.run()) {
        m_database->noteFailure("written");
        return SecStatus::NotAvailable;
    }
    return m_database->changes() > 0 ? transaction.commit() : SecStatus::ItemNotFound;
}

int FileKeychain::remove(const KeychainMatch &match)
{
    return attempt([&] { return removeAll(match); });
}

int FileKeychain::readValue(Row &row) const
{
    if (!row.sealed)
        return SecStatus::Success;
    const auto [state, key] = MasterKey(keyPath()).read();
    if (state == MasterKey::State::Unreadable) {
        qCWarning(logStore, "the keychain's key %s can't be read: give this user its file back, mode 0600",
                  QFile::encodeName(keyPath()).constData());
        return SecStatus::NotAvailable;
    }
    row.item.value = key ? openValue(*key, *row.sealed, contextOf(row.item)) : std::nullopt;
    if (row.item.value)
        return SecStatus::Success;
    qCWarning(logStore, "a value in the keychain %s is damaged, or its key beside it is: store the value again",
              QFile::encodeName(m_folder).constData());
    return SecStatus::Decode;
}

KeychainFound FileKeychain::findOne(const KeychainMatch &match, Content content)
{
    return attempt([&]() -> KeychainFound {
        auto found = rows(selectOne, match);
        if (!found)
            return {SecStatus::NotAvailable};
        if (found->empty())
            return {SecStatus::ItemNotFound};
        Row &row = found->front();
        if (content == Content::Value) {
            if (const int status = readValue(row); status != SecStatus::Success)
                return {status};
        }
        return {SecStatus::Success, {row.item}};
    });
}

KeychainFound FileKeychain::findAll(const KeychainMatch &match)
{
    return attempt([&]() -> KeychainFound {
        const auto found = rows(selectAll, match);
        if (!found)
            return {SecStatus::NotAvailable};
        KeychainFound result{found->empty() ? SecStatus::ItemNotFound : SecStatus::Success};
        for (const auto &row : *found)
            result.items.push_back(row.item);
        return result;
    });
}

} // namespace kelpay

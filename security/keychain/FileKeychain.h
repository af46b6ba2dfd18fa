#pragma once

#include "platform/Sqlite.h"
#include "security/keychain/KeychainStore.h"

#include <QString>

#include <memory>
#include <mutex>

namespace kelpay {

/// The keychain in a file: a database beside a master key, every value sealed under that key and bound to its item's
/// class, service, group, account and label. A damaged database is repaired: what can be read of it stays.
class FileKeychain : public KeychainStore
{
public:
    /// In `folder`, or for an empty text in the state folder. Opened when first used, and again when it had to be.
    explicit FileKeychain(QString folder = {}) : m_folder(std::move(folder)) {}

    int add(const std::vector<KeychainItem> &items) override;
    int update(const KeychainMatch &match, const Bytes &value) override;
    int remove(const KeychainMatch &match) override;
    KeychainFound findOne(const KeychainMatch &match, Content content) override;
    KeychainFound findAll(const KeychainMatch &match) override;

private:
    struct Row;
    bool open();
    template <typename Operation> auto attempt(Operation operation);
    QString keyPath() const;
    std::optional<std::vector<Row>> rows(const char *sql, const KeychainMatch &match);
    int insert(const KeychainItem &item);
    int addAll(const std::vector<KeychainItem> &items);
    int updateAll(const KeychainMatch &match, const Bytes &value);
    int removeAll(const KeychainMatch &match);
    int readValue(Row &row) const;

    QString m_folder;
    std::mutex m_mutex;
    std::unique_ptr<SqliteDatabase> m_database;
};

} // namespace kelpay

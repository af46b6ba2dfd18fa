#pragma once

#include "platform/SqliteStore.h"
#include "security/keychain/KeychainStore.h"

#include <QString>

#include <mutex>
#include <optional>

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
    SqliteStore *store();
    template <class Operation> int write(Operation operation);
    QString keyPath() const;
    int insert(SqliteDatabase &database, const KeychainItem &item) const;
    int readValue(KeychainItem &item, const Bytes &sealed) const;

    QString m_folder;
    std::mutex m_mutex;
    std::optional<SqliteStore> m_store;
};

} // namespace kelpay

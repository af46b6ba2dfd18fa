#pragma once

#include "platform/Bytes.h"

#include <QString>
#include <QVariantMap>

#include <optional>
#include <vector>

namespace kelpay {

enum class KeychainItemClass { GenericPassword = 1, Key = 2 };

/// What a store keeps. Class, service, group, account and label together name one item.
struct KeychainItem
{
    KeychainItemClass itemClass = KeychainItemClass::GenericPassword;
    QString service;
    /// "" for the host's own group.
    QString accessGroup;
    /// The key text of a password, the tag of a key.
    QString account;
    /// Tells the keys of one tag apart; "" for a password.
    QString label;
    /// Kept as they are and given back; JSON types only, never secret.
    QVariantMap attributes;
    /// An item may have none, which is not the same as an empty one.
    std::optional<Bytes> value;
};

/// Picks items: those that have what is given here. What is not given may be anything.
struct KeychainMatch
{
    KeychainItemClass itemClass = KeychainItemClass::GenericPassword;
    std::optional<QString> service;
    std::optional<QString> accessGroup;
    std::optional<QString> account;
};

struct KeychainFound
{
    int status;
    std::vector<KeychainItem> items = {};
};

/// The port between the keychain and where it lives. An implementation
/// - keeps items beyond the process, and acknowledges a write only when it survives a power loss;
/// - gives values to nobody who can't authenticate as this user, and notices a value that was damaged or moved from
///   another item: such a value reads as -26275, and finding the item without its value, updating and deleting it work;
/// - never prompts, and answers every call within two seconds or so;
/// - never falls back to another place: -25291 where it can't be reached, -25308 where it is locked;
/// - may be called from any thread and by several processes at once; each call happens wholly or not at all.
/// Every call gives a status of SecStatus.
class KeychainStore
{
public:
    KeychainStore() = default;
    KeychainStore(const KeychainStore &) = delete;
    KeychainStore &operator=(const KeychainStore &) = delete;
    virtual ~KeychainStore() = default;

    /// The one this build was made with.
    static KeychainStore &shared();

    /// Adds all of `items` or none; -25299 where one is there already.
    virtual int add(const std::vector<KeychainItem> &items) = 0;
    /// Gives every matching item this value and leaves the rest of it; -25300 where there is none.
    virtual int update(const KeychainMatch &match, const Bytes &value) = 0;
    /// Deletes every matching item; -25300 where there is none.
    virtual int remove(const KeychainMatch &match) = 0;
    enum class Content { Attributes, Value };
    /// The first matching item that was added, with its value if asked for; -25300 where there is none.
    virtual KeychainFound findOne(const KeychainMatch &match, Content content) = 0;
    /// All matching items in the order they were added, without values; -25300 where there is none.
    virtual KeychainFound findAll(const KeychainMatch &match) = 0;
};

} // namespace kelpay

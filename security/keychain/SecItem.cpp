#include "security/keychain/SecItem.h"

#include "security/KeyRef.h"
#include "security/SecStatus.h"
#include "security/keychain/KeychainStore.h"

namespace kelpay {

namespace {

std::optional<QString> text(const QVariantMap &map, const QString &name)
{
    const auto found = map.constFind(name);
    return found == map.constEnd() ? std::nullopt : std::optional(found->toString());
}

// A tag names the same key as text and as bytes.
std::optional<QString> tag(const QVariantMap &map)
{
    const auto found = map.constFind(SecAttribute::ApplicationTag);
    if (found == map.constEnd())
        return std::nullopt;
    return found->canConvert<Bytes>() ? found->value<Bytes>().toText() : found->toString();
}

KeychainItemClass itemClass(const QVariantMap &map)
{
    return map.value(SecAttribute::Class).toString() == SecAttribute::ClassKey ? KeychainItemClass::Key
                                                                               : KeychainItemClass::GenericPassword;
}

KeychainMatch matchOf(const QVariantMap &query)
{
    if (itemClass(query) == KeychainItemClass::Key)
        return {KeychainItemClass::Key, std::nullopt, std::nullopt, tag(query)};
    return {KeychainItemClass::GenericPassword, text(query, SecAttribute::Service),
            text(query, SecAttribute::AccessGroup), text(query, SecAttribute::Account)};
}

// The group is given back even where it is the host's own, so that the map names this item alone.
QVariantMap attributesOf(const KeychainItem &item)
{
    QVariantMap attributes = item.attributes;
    attributes.insert(SecAttribute::Service, item.service);
    attributes.insert(SecAttribute::AccessGroup, item.accessGroup);
    attributes.insert(SecAttribute::Account, item.account);
    return attributes;
}

std::optional<KeyRef> keyOf(const KeychainItem &item)
{
    const bool isPublic = item.attributes.value(SecAttribute::KeyClass).toString() == SecAttribute::KeyClassPublic;
    return item.value ? KeyRef::fromPKCS1(*item.value, isPublic ? KeyRef::Half::Public : KeyRef::Half::Private)
                      : std::nullopt;
}

int copyAll(const QVariantMap &query, QVariant *result)
{
    const auto [status, items] = KeychainStore::shared().findAll(matchOf(query));
    QVariantList list;
    for (const auto &item : items)
        list.append(attributesOf(item));
    if (result && status == SecStatus::Success)
        *result = list;
    return status;
}

} // namespace

int secItemAdd(const QVariantMap &attributes)
{
    KeychainItem item;
    item.service = attributes.value(SecAttribute::Service).toString();
    item.accessGroup = attributes.value(SecAttribute::AccessGroup).toString();
    item.account = attributes.value(SecAttribute::Account).toString();
    for (const auto &kept : {SecAttribute::Accessible, SecAttribute::AccessControl}) {
        if (attributes.contains(kept))
            item.attributes.insert(kept, attributes.value(kept));
    }
    if (attributes.contains(SecAttribute::ValueData))
        item.value = attributes.value(SecAttribute::ValueData).value<Bytes>();
    return KeychainStore::shared().add({item});
}

int secItemUpdate(const QVariantMap &query, const QVariantMap &attributesToUpdate)
{
    return KeychainStore::shared().update(matchOf(query),
                                          attributesToUpdate.value(SecAttribute::ValueData).value<Bytes>());
}

int secItemDelete(const QVariantMap &query)
{
    return KeychainStore::shared().remove(matchOf(query));
}

int secItemCopyMatching(const QVariantMap &query, QVariant *result)
{
    if (query.value(SecAttribute::MatchLimit).toString() == SecAttribute::MatchLimitAll)
        return copyAll(query, result);
    const bool returnsRef = query.value(SecAttribute::ReturnRef).toBool();
    const bool wantsValue = result && (returnsRef || query.value(SecAttribute::ReturnData).toBool());
    const auto [status, items] = KeychainStore::shared().findOne(
        matchOf(query), wantsValue ? KeychainStore::Content::Value : KeychainStore::Content::Attributes);
    if (status != SecStatus::Success || !wantsValue)
        return status;
    const KeychainItem &item = items.front();
    if (!returnsRef) {
        *result = item.value ? QVariant::fromValue(*item.value) : QVariant();
        return SecStatus::Success;
    }
    const auto key = keyOf(item);
    if (!key)
        return SecStatus::Decode;
    *result = QVariant::fromValue(std::make_shared<KeyRef>(*key));
    return SecStatus::Success;
}

} // namespace kelpay

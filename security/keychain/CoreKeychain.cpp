#include "security/keychain/CoreKeychain.h"

#include "platform/SystemFacts.h"
#include "security/StrictUtf8.h"
#include "security/keychain/SecItem.h"

namespace kelpay {

namespace {

constexpr int whenPasscodeSet = 3;

// A null QString is no text, as nothing at all is.
std::optional<Bytes> utf8(const std::optional<QString> &text)
{
    return text && !text->isNull() ? std::optional(Bytes::fromText(*text)) : std::nullopt;
}

// What a query found; nothing for an item without data.
std::optional<Bytes> bytesOf(const QVariant &value)
{
    return value.isValid() ? std::optional(value.value<Bytes>()) : std::nullopt;
}

} // namespace

CoreKeychain::CoreKeychain() : CoreKeychain(SystemFacts::hostIdentifier()) {}

CoreKeychain::CoreKeychain(const QString &service) : CoreKeychain(service, std::nullopt) {}

CoreKeychain::CoreKeychain(const QString &service, const std::optional<QString> &accessGroup)
    : m_service(service), m_accessGroup(accessGroup)
{}

std::optional<QString> CoreKeychain::stringForKey(const QString &key, const std::optional<QString> &promptMessage) const
{
    const auto bytes = dataForKey(key, promptMessage);
    return bytes ? strictUtf8(*bytes) : std::nullopt;
}

std::optional<Bytes> CoreKeychain::dataForKey(const QString &key, const std::optional<QString> &promptMessage,
                                              Error *error) const
{
    if (key.isNull())
        return std::nullopt;
    QVariant value;
    const int status = secItemCopyMatching(queryFetchOneByKey(key, promptMessage), &value);
    if (status == SecStatus::Success)
        return bytesOf(value);
    if (error)
        *error = {ErrorDomain, status, stringForSecStatus(status)};
    return std::nullopt;
}

bool CoreKeychain::hasValueForKey(const QString &key) const
{
    return !key.isNull() && secItemCopyMatching(queryFindByKey(key, std::nullopt)) == SecStatus::Success;
}

bool CoreKeychain::setString(const std::optional<QString> &string, const QString &key,
                             const std::optional<QString> &promptMessage) const
{
    return setData(utf8(string), key, promptMessage);
}

bool CoreKeychain::setData(const std::optional<Bytes> &data, const QString &key,
                           const std::optional<QString> &promptMessage) const
{
    if (key.isNull())
        return false;
    const QVariantMap query = queryFindByKey(key, promptMessage);
    // An item that only a set passcode makes accessible can't be updated without asking the user; it is made anew.
    if (m_useAccessControl && m_accessibility == whenPasscodeSet) {
        const int deleted = secItemDelete(query);
        if (deleted == SecStatus::Success || deleted == SecStatus::ItemNotFound)
            return secItemAdd(queryNewKey(key, data)) == SecStatus::Success;
    }
    if (secItemCopyMatching(query) != SecStatus::Success)
        return secItemAdd(queryNewKey(key, data)) == SecStatus::Success;
    const int status = data ? secItemUpdate(query, queryUpdateValue(*data, promptMessage)) : secItemDelete(query);
    return status == SecStatus::Success;
}

bool CoreKeychain::deleteEntryForKey(const QString &key) const
{
    return !key.isNull() && secItemDelete(queryFindByKey(key, std::nullopt)) == SecStatus::Success;
}

void CoreKeychain::clearAll() const
{
    QVariant found;
    secItemCopyMatching(queryFindAll(), &found);
    for (const QVariant &attributes : found.toList()) {
        QVariantMap item = attributes.toMap();
        item.insert(SecAttribute::Class, SecAttribute::ClassGenericPassword);
        if (secItemDelete(item) != SecStatus::Success)
            return;
    }
}

} // namespace kelpay

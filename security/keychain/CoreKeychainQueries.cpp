#include "security/keychain/CoreKeychain.h"
#include "security/keychain/SecItem.h"

#include <QCoreApplication>

#include <array>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

constexpr int userPresence = 1;

void insertPrompt(QVariantMap &query, const std::optional<QString> &message)
{
    if (message)
        query.insert(SecAttribute::UseOperationPrompt, *message);
}

struct StatusText
{
    int status;
    const char *text;
};

// The texts are the keys of the host's translations.
constexpr std::array statusTexts{
    StatusText{SecStatus::Success, "errSecSuccess: No error"},
    StatusText{SecStatus::Unimplemented, "errSecUnimplemented: Function or operation not implemented"},
    StatusText{SecStatus::Param, "errSecParam: One or more parameters passed to the function were not valid"},
    StatusText{SecStatus::Allocate, "errSecAllocate: Failed to allocate memory"},
    StatusText{SecStatus::NotAvailable, "errSecNotAvailable: No trust results are available"},
    StatusText{SecStatus::AuthFailed, "errSecAuthFailed: Authorization/Authentication failed"},
    StatusText{SecStatus::DuplicateItem, "errSecDuplicateItem: The item already exists"},
    StatusText{SecStatus::ItemNotFound, "errSecItemNotFound: The item cannot be found"},
    StatusText{SecStatus::InteractionNotAllowed,
               "errSecInteractionNotAllowed: Interaction with the Security Server is not allowed"},
    StatusText{SecStatus::Decode, "errSecDecode: Unable to decode the provided data"},
};

} // namespace

const QString CoreKeychain::ErrorDomain = u"dev.kel.KelPay.CoreKeychain"_s;

QString CoreKeychain::stringForSecStatus(int status)
{
    constexpr const char *table = "CoreKeychain";
    for (const auto &known : statusTexts) {
        if (known.status == status)
            return QCoreApplication::translate(table, known.text);
    }
    return QCoreApplication::translate(table, "Unknown error code %d").replace("%d"_L1, QString::number(status));
}

QString CoreKeychain::accessibility() const
{
    switch (m_accessibility) {
    case 0:
        return u"kSecAttrAccessibleWhenUnlocked"_s;
    case 1:
        return u"kSecAttrAccessibleAfterFirstUnlock"_s;
    case 2:
        return u"kSecAttrAccessibleAlways"_s;
    case 3:
        return u"kSecAttrAccessibleWhenPasscodeSetThisDeviceOnly"_s;
    case 5:
        return u"kSecAttrAccessibleAfterFirstUnlockThisDeviceOnly"_s;
    case 6:
        return u"kSecAttrAccessibleAlwaysThisDeviceOnly"_s;
    default:
        return u"kSecAttrAccessibleWhenUnlockedThisDeviceOnly"_s;
    }
}

QVariantMap CoreKeychain::baseQuery() const
{
    QVariantMap query{{SecAttribute::Class, SecAttribute::ClassGenericPassword}, {SecAttribute::Service, m_service}};
    if (m_accessGroup)
        query.insert(SecAttribute::AccessGroup, *m_accessGroup);
    return query;
}

QVariantMap CoreKeychain::queryFindAll() const
{
    QVariantMap query = baseQuery();
    query.insert(SecAttribute::ReturnAttributes, true);
    query.insert(SecAttribute::MatchLimit, SecAttribute::MatchLimitAll);
    return query;
}

QVariantMap CoreKeychain::queryFindByKey(const QString &key, const std::optional<QString> &message) const
{
    QVariantMap query = baseQuery();
    query.insert(SecAttribute::Account, key);
    insertPrompt(query, message);
    return query;
}

QVariantMap CoreKeychain::queryFetchOneByKey(const QString &key, const std::optional<QString> &message) const
{
    QVariantMap query = baseQuery();
    query.insert(SecAttribute::ReturnData, true);
    query.insert(SecAttribute::MatchLimit, SecAttribute::MatchLimitOne);
    query.insert(SecAttribute::Account, key);
    if (m_useAccessControl)
        insertPrompt(query, message);
    return query;
}

QVariantMap CoreKeychain::queryUpdateValue(const Bytes &value, const std::optional<QString> &message) const
{
    QVariantMap query{{SecAttribute::ValueData, QVariant::fromValue(value)}};
    insertPrompt(query, message);
    return query;
}

QVariantMap CoreKeychain::queryNewKey(const QString &key, const std::optional<Bytes> &value) const
{
    QVariantMap query = baseQuery();
    query.insert(SecAttribute::Account, key);
    if (value)
        query.insert(SecAttribute::ValueData, QVariant::fromValue(*value));
    if (m_useAccessControl) {
        const QVariantMap control{{u"protection"_s, accessibility()}, {u"flags"_s, userPresence}};
        query.insert(SecAttribute::AccessControl, control);
        query.insert(SecAttribute::UseNoAuthenticationUI, true);
    } else {
        query.insert(SecAttribute::Accessible, accessibility());
    }
    return query;
}

} // namespace kelpay

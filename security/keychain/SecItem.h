#pragma once

#include <QString>
#include <QVariant>
#include <QVariantMap>

namespace kelpay {

// The keychain's calls as the platform words them: queries and attributes are maps keyed by attribute names, results
// are status codes. They stand on KeychainStore. Any thread.

/// Names of attributes and of their fixed values.
namespace SecAttribute {
inline const QString Class = QStringLiteral("kSecClass");
inline const QString ClassGenericPassword = QStringLiteral("kSecClassGenericPassword");
inline const QString ClassKey = QStringLiteral("kSecClassKey");
inline const QString Service = QStringLiteral("kSecAttrService");
inline const QString AccessGroup = QStringLiteral("kSecAttrAccessGroup");
inline const QString Account = QStringLiteral("kSecAttrAccount");
inline const QString Accessible = QStringLiteral("kSecAttrAccessible");
inline const QString AccessControl = QStringLiteral("kSecAttrAccessControl");
inline const QString ValueData = QStringLiteral("kSecValueData");
inline const QString ReturnData = QStringLiteral("kSecReturnData");
inline const QString ReturnAttributes = QStringLiteral("kSecReturnAttributes");
inline const QString ReturnRef = QStringLiteral("kSecReturnRef");
inline const QString MatchLimit = QStringLiteral("kSecMatchLimit");
inline const QString MatchLimitOne = QStringLiteral("kSecMatchLimitOne");
inline const QString MatchLimitAll = QStringLiteral("kSecMatchLimitAll");
inline const QString UseOperationPrompt = QStringLiteral("kSecUseOperationPrompt");
inline const QString UseNoAuthenticationUI = QStringLiteral("kSecUseNoAuthenticationUI");
inline const QString ApplicationTag = QStringLiteral("kSecAttrApplicationTag");
inline const QString Type = QStringLiteral("kSecAttrType");
inline const QString KeyType = QStringLiteral("kSecAttrKeyType");
inline const QString KeyTypeRSA = QStringLiteral("kSecAttrKeyTypeRSA");
inline const QString KeyClass = QStringLiteral("kSecAttrKeyClass");
inline const QString KeyClassPublic = QStringLiteral("kSecAttrKeyClassPublic");
inline const QString KeyClassPrivate = QStringLiteral("kSecAttrKeyClassPrivate");
inline const QString KeySizeInBits = QStringLiteral("kSecAttrKeySizeInBits");
} // namespace SecAttribute

int secItemAdd(const QVariantMap &attributes);
int secItemUpdate(const QVariantMap &query, const QVariantMap &attributesToUpdate);
/// Deletes every item that the query finds.
int secItemDelete(const QVariantMap &query);
/// `result`, where wanted, becomes the item's Bytes (kSecReturnData; invalid for an item without), its KeyRef
/// (kSecReturnRef), or a list of attribute maps (kSecReturnAttributes with kSecMatchLimitAll); with none of these the
/// call only says whether an item is there.
int secItemCopyMatching(const QVariantMap &query, QVariant *result = nullptr);

} // namespace kelpay

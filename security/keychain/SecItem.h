#pragma once

#include <QString>
#include <QVariant>
#include <QVariantMap>

namespace kelpay {

using namespace Qt::StringLiterals;

// The keychain's calls as the platform words them: queries and attributes are maps keyed by attribute names, results
// are status codes. They stand on KeychainStore. Any thread.

/// Names of attributes and of their fixed values.
namespace SecAttribute {
inline const QString Class = u"kSecClass"_s;
inline const QString ClassGenericPassword = u"kSecClassGenericPassword"_s;
inline const QString ClassKey = u"kSecClassKey"_s;
inline const QString Service = u"kSecAttrService"_s;
inline const QString AccessGroup = u"kSecAttrAccessGroup"_s;
inline const QString Account = u"kSecAttrAccount"_s;
inline const QString Accessible = u"kSecAttrAccessible"_s;
inline const QString AccessControl = u"kSecAttrAccessControl"_s;
inline const QString ValueData = u"kSecValueData"_s;
inline const QString ReturnData = u"kSecReturnData"_s;
inline const QString ReturnAttributes = u"kSecReturnAttributes"_s;
inline const QString ReturnRef = u"kSecReturnRef"_s;
inline const QString MatchLimit = u"kSecMatchLimit"_s;
inline const QString MatchLimitOne = u"kSecMatchLimitOne"_s;
inline const QString MatchLimitAll = u"kSecMatchLimitAll"_s;
inline const QString UseOperationPrompt = u"kSecUseOperationPrompt"_s;
inline const QString UseNoAuthenticationUI = u"kSecUseNoAuthenticationUI"_s;
inline const QString ApplicationTag = u"kSecAttrApplicationTag"_s;
inline const QString Type = u"kSecAttrType"_s;
inline const QString KeyType = u"kSecAttrKeyType"_s;
inline const QString KeyTypeRSA = u"kSecAttrKeyTypeRSA"_s;
inline const QString KeyClass = u"kSecAttrKeyClass"_s;
inline const QString KeyClassPublic = u"kSecAttrKeyClassPublic"_s;
inline const QString KeyClassPrivate = u"kSecAttrKeyClassPrivate"_s;
inline const QString KeySizeInBits = u"kSecAttrKeySizeInBits"_s;
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

// CoreKeychain's pairs of RSA keys, which no payment uses.

#include "security/Digests.h"
#include "security/keychain/CoreKeychain.h"
#include "security/keychain/KeychainStore.h"
#include "security/keychain/SecItem.h"
#include "security/toolbox/Hex.h"

namespace kelpay {

namespace {

QVariantMap queryByTag(const QString &tag)
{
    return {{SecAttribute::Class, SecAttribute::ClassKey},
            {SecAttribute::ApplicationTag, QVariant::fromValue(Bytes::fromText(tag))},
            {SecAttribute::Type, SecAttribute::KeyTypeRSA}};
}

// One half of `pair` under its tag, or nothing where it can't be written down.
std::optional<KeychainItem> itemOf(const KeyPair &pair, KeyRef::Half half, const QString &tag, unsigned bits)
{
    const auto publicDer = pair.publicKey.toPKCS1(KeyRef::Half::Public);
    const auto fingerprint = publicDer ? SHA1(*publicDer) : std::nullopt;
    const auto name = fingerprint ? encodeToHexString(*fingerprint) : std::nullopt;
    auto der = pair.privateKey.toPKCS1(half);
    if (!name || !der)
        return std::nullopt;
    const QString &keyClass =
        half == KeyRef::Half::Public ? SecAttribute::KeyClassPublic : SecAttribute::KeyClassPrivate;
    KeychainItem item;
    item.itemClass = KeychainItemClass::Key;
    item.account = tag;
    item.label = keyClass + u' ' + *name;
    item.attributes = {{SecAttribute::KeyType, SecAttribute::KeyTypeRSA},
                       {SecAttribute::KeyClass, keyClass},
                       {SecAttribute::KeySizeInBits, bits}};
    item.value = std::move(der);
    return item;
}

} // namespace

bool CoreKeychain::generateRSAKeyPairWithLength(unsigned bits, const QString &publicKeyTag,
                                                const QString &privateKeyTag) const
{
    const auto pair = KeyRef::generateRSA(bits);
    if (!pair)
        return false;
    const auto privateItem = itemOf(*pair, KeyRef::Half::Private, privateKeyTag, bits);
    const auto publicItem = itemOf(*pair, KeyRef::Half::Public, publicKeyTag, bits);
    return privateItem && publicItem && KeychainStore::shared().add({*privateItem, *publicItem}) == SecStatus::Success;
}

std::optional<Bytes> CoreKeychain::dataForRSAKeyWithTag(const QString &tag) const
{
    QVariantMap query = queryByTag(tag);
    query.insert(SecAttribute::ReturnData, true);
    QVariant value;
    const int status = secItemCopyMatching(query, &value);
    return status == SecStatus::Success ? std::optional(value.value<Bytes>()) : std::nullopt;
}

bool CoreKeychain::hasRSAKeyWithTag(const QString &tag) const
{
    QVariantMap query = queryByTag(tag);
    query.insert(SecAttribute::ReturnData, false);
    return secItemCopyMatching(query) == SecStatus::Success;
}

bool CoreKeychain::deleteRSAKeyWithTag(const QString &tag) const
{
    return secItemDelete(queryByTag(tag)) == SecStatus::Success;
}

std::optional<KeyRef> CoreKeychain::keyRefOfRSAKeyWithTag(const QString &tag) const
{
    // The tag goes as text here, and the type under another name.
    const QVariantMap query{{SecAttribute::Class, SecAttribute::ClassKey},
                            {SecAttribute::KeyType, SecAttribute::KeyTypeRSA},
                            {SecAttribute::ReturnRef, true},
                            {SecAttribute::ApplicationTag, tag}};
    QVariant value;
    if (secItemCopyMatching(query, &value) != SecStatus::Success)
        return std::nullopt;
    return *value.value<std::shared_ptr<KeyRef>>();
}

} // namespace kelpay

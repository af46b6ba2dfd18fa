#pragma once

#include "platform/Bytes.h"
#include "security/KeyRef.h"
#include "security/SecStatus.h"

#include <QString>
#include <QVariantMap>

#include <optional>

namespace kelpay {

/// Secrets under text keys, scoped by a service and, where one is given, an access group; a store without a group finds
/// the items of all groups of its service. Holds only its configuration: making one for each use is normal. Every call
/// is one operation on the calling thread; what a write acknowledges survives a power loss. A null QString is no key:
/// reads find nothing, writes fail. Prompts, accessibility and access control are kept with the item as the host gave
/// them; nothing here asks the user.
class CoreKeychain
{
public:
    /// The domain of every Error.
    static const QString ErrorDomain;

    /// The service is the host application's identifier.
    CoreKeychain();
    explicit CoreKeychain(const QString &service);
    CoreKeychain(const QString &service, const std::optional<QString> &accessGroup);
    static CoreKeychain keychain() { return {}; }
    static CoreKeychain keychainWithService(const QString &service) { return CoreKeychain(service); }
    static CoreKeychain keychainWithService(const QString &service, const QString &accessGroup)
    {
        return {service, accessGroup};
    }

    QString service() const { return m_service; }
    std::optional<QString> accessGroup() const { return m_accessGroup; }
    /// Accessibility codes 0 to 6; 1, "after first unlock", from the start.
    int defaultAccessiblity() const { return m_accessibility; }
    void setDefaultAccessiblity(int code) { m_accessibility = code; }
    bool useAccessControl() const { return m_useAccessControl; }
    void setUseAccessControl(bool use) { m_useAccessControl = use; }

    /// std::nullopt for a missing key, and for bytes that are no UTF-8.
    std::optional<QString> stringForKey(const QString &key, const std::optional<QString> &promptMessage = {}) const;
    /// std::nullopt for a missing key; `error`, where given, then says why: -25300 for no such item, -26275 for a
    /// damaged value, -25291 for a store that can't be reached. std::nullopt without an error for an item
    /// without data.
    std::optional<Bytes> dataForKey(const QString &key, const std::optional<QString> &promptMessage = {},
                                    Error *error = nullptr) const;
    bool hasValueForKey(const QString &key) const;

    /// Adds the item, or replaces its value in place. A null value (for a text std::nullopt or a null QString) deletes
    /// an existing item, and adds one without data where there is none. True when that succeeded.
    bool setString(const std::optional<QString> &string, const QString &key,
                   const std::optional<QString> &promptMessage = {}) const;
    bool setData(const std::optional<Bytes> &data, const QString &key,
                 const std::optional<QString> &promptMessage = {}) const;
    bool deleteEntryForKey(const QString &key) const;
    /// Deletes every item of this service (and group), up to the first that can't be deleted.
    void clearAll() const;

    /// The text of a status, translated by the host's context "CoreKeychain" where it has one.
    static QString stringForSecStatus(int status);

    // Pairs of RSA keys, of 1024 to 4096 bits, that persist under tags (toolbox/KeyPair.cpp). Keys are exported in
    // PKCS#1 DER form. Several keys may share a tag; the one stored first is found, and deleting deletes all.
    bool generateRSAKeyPairWithLength(unsigned bits, const QString &publicKeyTag, const QString &privateKeyTag) const;
    std::optional<Bytes> dataForRSAKeyWithTag(const QString &tag) const;
    bool hasRSAKeyWithTag(const QString &tag) const;
    bool deleteRSAKeyWithTag(const QString &tag) const;
    std::optional<KeyRef> keyRefOfRSAKeyWithTag(const QString &tag) const;
    [[deprecated("use dataForRSAKeyWithTag")]] std::optional<Bytes> publicRSAKeyDataForTag(const QString &tag) const
    {
        return dataForRSAKeyWithTag(tag);
    }

    // What the operations above ask of the keychain: fresh maps, keyed by attribute names (SecAttribute).
    QVariantMap baseQuery() const;
    QVariantMap queryFindAll() const;
    QVariantMap queryFindByKey(const QString &key, const std::optional<QString> &message) const;
    QVariantMap queryFetchOneByKey(const QString &key, const std::optional<QString> &message) const;
    QVariantMap queryUpdateValue(const Bytes &value, const std::optional<QString> &message) const;
    QVariantMap queryNewKey(const QString &key, const std::optional<Bytes> &value) const;
    /// The accessibility constant of the default code.
    QString accessibility() const;

private:
    QString m_service;
    std::optional<QString> m_accessGroup;
    int m_accessibility = 1;
    bool m_useAccessControl = false;
};

} // namespace kelpay

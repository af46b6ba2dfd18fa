#pragma once

#include "platform/Bytes.h"

#include <QString>

#include <string>

namespace kelpay::test {

using namespace Qt::StringLiterals;

inline const QString password = u"qwpLumaXYT@#781"_s;

/// What a client certificate file is made with.
struct IdentityRecipe
{
    int bits = 2048;
    /// Seconds from now.
    long notBefore = -3600;
    long notAfter = 3600;
    std::string password = test::password.toStdString();
    enum class Encryption { Aes256, TripleDes, Rc2AndTripleDes } encryption = Encryption::Aes256;
    /// Signed by an intermediate and a root, both in the file, in an order that is not the chain's.
    bool hasIssuers = false;
    bool hasKey = true;
    /// The private exponent is another one.
    bool isKeyDamaged = false;
    /// Of each derivation of a key from the password.
    int rounds = 2048;
    /// The derivation that asks for as many rounds as there are. A hidden key is encrypted once more with its safe.
    enum class Rounds { None, Mac, Safe, Key, HiddenKey } endless = Rounds::None;
};

/// A PKCS#12 file.
Bytes makeIdentity(const IdentityRecipe &recipe = {});
/// A self-signed certificate in DER form.
Bytes makeCertificate(int bits = 2048);

/// A folder that lies over the SDK's bundle while this lives, with `file` as the client certificate.
class InstalledIdentity
{
public:
    explicit InstalledIdentity(const Bytes &file);
    ~InstalledIdentity();
    InstalledIdentity(const InstalledIdentity &) = delete;
    InstalledIdentity &operator=(const InstalledIdentity &) = delete;

    void replace(const Bytes &file) const;
    void remove() const;
    QString path() const;

private:
    QString m_folder;
};

} // namespace kelpay::test

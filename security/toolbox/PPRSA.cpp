#include "security/toolbox/PPRSA.h"

#include "platform/Bundle.h"
#include "security/Pkcs12Item.h"
#include "security/Random.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

namespace kelpay {

using namespace Qt::StringLiterals;

const QString PPRSAErrorDomain = u"PPRSAErrorDomain"_s;

namespace {

// Fills the slot and is the null result of any type.
struct Failure
{
    Failure(Error *slot, const QString &text)
    {
        if (slot)
            *slot = {PPRSAErrorDomain, 0, text};
    }
    operator bool() const { return false; }
    template <typename T> operator std::optional<T>() const { return std::nullopt; }
};

} // namespace

bool PPRSA::loadPublicKeyFromBundledCertificate(const QString &name, Error *error)
{
    const auto path = Bundle::main().pathForResource(name, u"cer"_s);
    // The text says .crt, the file is a .cer.
    if (!path)
        return Failure(error, u"Bundled certificate named «%1.crt» not found"_s.arg(name));
    const auto data = readFile(*path);
    if (!data)
        return Failure(error, u"Failed to read bundled public key data"_s);
    auto key = publicKeyFromData(*data, error);
    if (!key)
        return false;
    m_publicKey = std::move(key);
    return true;
}

bool PPRSA::loadPrivateKeyFromBundledP12(const QString &name, const QString &password, Error *error)
{
    const auto path = Bundle::main().pathForResource(name, u"p12"_s);
    if (!path)
        return Failure(error, u"Bundled private key file named «%1.p12» not found"_s.arg(name));
    const auto data = readFile(*path);
    if (!data)
        return Failure(error, u"Failed to read bundled private key data"_s);
    return loadPrivateKeyFromP12Data(*data, password, error);
}

bool PPRSA::loadPrivateKeyFromP12Data(const Bytes &data, const QString &password, Error *error)
{
    auto key = privateKeyFromData(data, password, error);
    if (!key)
        return false;
    m_privateKey = std::move(key);
    return true;
}

std::optional<KeyRef> PPRSA::publicKeyFromData(const Bytes &certificate, Error *error) const
{
    auto [isCertificate, key] = KeyRef::readCertificate(certificate);
    if (!isCertificate)
        return Failure(error, u"Failed to create certificate"_s);
    if (!key)
        return Failure(error, errorMessageForCode(SecStatus::Param, u"Failed to establish trust with certificate"_s));
    return key;
}

std::optional<KeyRef> PPRSA::privateKeyFromData(const Bytes &pkcs12, const QString &password, Error *error) const
{
    const auto [status, item] = Pkcs12Item::import(pkcs12, password);
    if (!item)
        return Failure(error, errorMessageForCode(status, u"Failed to import P12 data"_s));
    return item->privateKey();
}

std::optional<Bytes> PPRSA::encryptData(const Bytes &data, Error *error) const
{
    if (!m_publicKey)
        return Failure(error, u"No public key has been loaded, cannot encrypt"_s);
    const std::size_t most = m_publicKey->blockSize() - std::min(m_publicKey->blockSize(), KeyRef::paddingSize);
    if (data.size() > most)
        return Failure(error, u"Too much data, cannot encrypt. Max %1 byte, have %2"_s.arg(most).arg(data.size()));
    if (auto block = m_publicKey->encrypt(data))
        return block;
    return Failure(error, errorMessageForCode(SecStatus::Param, u"Failed to encrypt data"_s));
}

std::optional<Bytes> PPRSA::decryptData(const Bytes &data, Error *error) const
try {
    if (!m_privateKey)
        return Failure(error, u"No private key has been loaded, cannot decrypt"_s);
    const auto plain = m_privateKey->decrypt(data);
    if (!plain)
        return Failure(error, errorMessageForCode(SecStatus::CryptoFailed, u"Failed to decrypt data"_s));
    const std::size_t zeros = m_privateKey->blockSize() - plain->size();
    BytesBuilder block(m_privateKey->blockSize());
    block.append(*plain);
    std::fill_n(block.extend(zeros), zeros, std::uint8_t{0});
    return block.take();
} catch (const std::bad_alloc &) {
    return Failure(error, errorMessageForCode(SecStatus::Allocate, u"Failed to decrypt data"_s));
}

QString PPRSA::randomStringOfLength(std::size_t length)
try {
    constexpr std::string_view alphabet = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXZY0123456789@%#$^_.*-+/=";
    static_assert(alphabet.size() == 74);
    constexpr auto longest = static_cast<std::size_t>(std::numeric_limits<int>::max());
    const auto random = length <= longest ? generateSecureRandomData(length * sizeof(std::uint32_t)) : std::nullopt;
    if (!random)
        return {};
    QString text(static_cast<qsizetype>(length), Qt::Uninitialized);
    for (std::size_t i = 0; i < length; ++i) {
        std::uint32_t number = 0;
        std::memcpy(&number, random->data() + i * sizeof number, sizeof number);
        text[static_cast<qsizetype>(i)] = QLatin1Char(alphabet[number % alphabet.size()]);
    }
    return text;
} catch (const std::bad_alloc &) {
    return {};
}

QString PPRSA::errorMessageForCode(int status, const QString &message)
{
    const QString reason = status == SecStatus::CryptoFailed ? u"invalid encryption"_s
                           : status == SecStatus::AuthFailed ? u"wrong password"_s
                                                             : u"Error code %1"_s.arg(status);
    return message + ": "_L1 + reason;
}

} // namespace kelpay

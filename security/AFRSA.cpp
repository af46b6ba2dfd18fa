#include "security/AFRSA.h"

#include "platform/Bundle.h"
#include "security/BlockCipher.h"
#include "security/Pkcs12Item.h"

#include <algorithm>
#include <new>

namespace kelpay {

struct AFRSA::Imported
{
    Bytes file;
    Bytes password;
    Pkcs12Item::Period period;
    Key publicKey;
    Key privateKey;

    bool standsFor(const Bytes &otherFile, const Bytes &otherPassword, std::time_t now) const
    {
        return period.from <= now && now < period.until && file == otherFile && password == otherPassword;
    }
};

namespace {

std::optional<KeyRef> reference(std::shared_ptr<const KeyRef::Shared> key)
{
    return key ? std::optional(KeyRef(std::move(key))) : std::nullopt;
}

} // namespace

AFRSA &AFRSA::sharedAFRSA()
{
    static AFRSA instance;
    return instance;
}

void AFRSA::makeFirstPair() const
{
    const std::scoped_lock lock(m_mutex);
    if (m_hadFirst)
        return;
    if (const auto pair = KeyRef::generateRSA(1024)) {
        setKeys(pair->publicKey.shared(), pair->privateKey.shared());
        m_hadFirst = true;
    }
}

void AFRSA::forgoFirstPair() const
{
    const std::scoped_lock lock(m_mutex);
    m_hadFirst = true;
}

void AFRSA::setKeys(Key publicKey, Key privateKey) const
{
    m_publicKey = std::move(publicKey);
    m_privateKey = std::move(privateKey);
}

std::optional<KeyRef> AFRSA::publicKey() const
{
    makeFirstPair();
    return reference(m_publicKey);
}

std::optional<KeyRef> AFRSA::privateKey() const
{
    makeFirstPair();
    return reference(m_privateKey);
}

bool AFRSA::generateKeys(unsigned bits)
{
    const auto pair = KeyRef::generateRSA(bits);
    if (!pair)
        return false;
    forgoFirstPair();
    setKeys(pair->publicKey.shared(), pair->privateKey.shared());
    return true;
}

bool AFRSA::keysFromPersonalInformationExchangeFile(const QString &path, const QString &password)
try {
    const auto file = path.isEmpty() ? std::nullopt : readFile(path);
    return keysFromData(file.value_or(Bytes()), password);
} catch (const std::bad_alloc &) {
    return keysFromData(Bytes(), password);
}

std::shared_ptr<const AFRSA::Imported> AFRSA::imported(const Bytes &pkcs12, const Bytes &password, const QString &text,
                                                       std::time_t now)
{
    const auto item = Pkcs12Item::import(pkcs12, text).item;
    if (!item || !item->isTrusted(now))
        return nullptr;
    return std::make_shared<Imported>(Imported{pkcs12, password, item->unchangedAround(now), item->publicKey().shared(),
                                               item->privateKey().shared()});
}

bool AFRSA::keysFromData(const Bytes &pkcs12, const QString &password)
try {
    forgoFirstPair();
    const std::time_t now = std::time(nullptr);
    const Bytes passwordBytes = Bytes::fromText(password);
    auto found = m_imported.load();
    if (!found || !found->standsFor(pkcs12, passwordBytes, now)) {
        setKeys(nullptr, nullptr);
        found = imported(pkcs12, passwordBytes, password, now);
        m_imported = found;
    }
    if (!found)
        return false;
    setKeys(found->publicKey, found->privateKey);
    return true;
} catch (const std::bad_alloc &) {
    setKeys(nullptr, nullptr);
    return false;
}

std::optional<KeyRef> AFRSA::publicKeyFromDERData(const Bytes &certificate) const
{
    return KeyRef::readCertificate(certificate).publicKey;
}

std::optional<Bytes> AFRSA::encryptDataWithPublicKey(const Bytes &data) const
{
    return doCipherWithData(data, publicKey(), CipherEncrypt);
}

std::optional<Bytes> AFRSA::decryptDataWithPrivateKey(const Bytes &data) const
{
    return doCipherWithData(data, privateKey(), CipherDecrypt);
}

std::optional<Bytes> AFRSA::doCipherWithData(const Bytes &data, const std::optional<KeyRef> &key,
                                             unsigned operation) const
try {
    const std::size_t blockSize = key ? key->blockSize() : 0;
    if (operation > CipherDecrypt || data.empty() || blockSize <= KeyRef::paddingSize)
        return std::nullopt;
    const std::size_t chunkSize = operation == CipherEncrypt ? blockSize - KeyRef::paddingSize : blockSize;
    BytesBuilder output((data.size() + chunkSize - 1) / chunkSize * blockSize);
    std::size_t capacity = blockSize;
    for (std::size_t done = 0; done < data.size(); done += chunkSize) {
        const Bytes chunk =
            data.size() <= chunkSize ? data : Bytes(data.data() + done, std::min(chunkSize, data.size() - done));
        const auto result = operation == CipherEncrypt ? key->encrypt(chunk) : key->decrypt(chunk);
        if (!result || result->size() > capacity)
            return std::nullopt;
        output.append(*result);
        capacity = result->size();
    }
    return output.take();
} catch (const std::bad_alloc &) {
    return std::nullopt;
}

} // namespace kelpay

#include "security/AFRSA.h"

#include "platform/Bundle.h"
#include "security/BlockCipher.h"
#include "security/Digests.h"
#include "security/Pkcs12Item.h"

#include <algorithm>

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

struct SignedDigest
{
    const char *name = nullptr;
    std::optional<Bytes> digest;
};

SignedDigest digestFor(std::uint32_t padding, const Bytes &data)
{
    switch (padding) {
    case AFRSA::PaddingPKCS1:
        return {nullptr, Bytes()};
    case AFRSA::PaddingPKCS1SHA1:
        return {"SHA1", SHA1(data)};
    case AFRSA::PaddingPKCS1SHA224:
        return {"SHA224", SHA224(data)};
    case AFRSA::PaddingPKCS1SHA256:
        return {"SHA256", SHA256(data)};
    case AFRSA::PaddingPKCS1SHA384:
        return {"SHA384", SHA384(data)};
    case AFRSA::PaddingPKCS1SHA512:
        return {"SHA512", SHA512(data)};
    default:
        return {};
    }
}

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
    std::call_once(m_first, [this] {
        if (const auto pair = KeyRef::generateRSA(1024))
            setKeys(pair->publicKey.shared(), pair->privateKey.shared());
    });
}

void AFRSA::forgoFirstPair() const
{
    std::call_once(m_first, [] {});
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
{
    const auto file = path.isEmpty() ? std::nullopt : readFile(path);
    return keysFromData(file.value_or(Bytes()), password);
}

std::shared_ptr<const AFRSA::Imported> AFRSA::imported(const Bytes &pkcs12, const Bytes &password, const QString &text,
                                                       std::time_t now)
{
    const auto item = Pkcs12Item::import(pkcs12, text).item;
    if (!item || !item->privateKey() || !item->isTrusted(now))
        return nullptr;
    const auto publicKey = item->publicKey();
    return std::make_shared<Imported>(Imported{pkcs12, password, item->unchangedAround(now),
                                               publicKey ? publicKey->shared() : nullptr,
                                               item->privateKey()->shared()});
}

bool AFRSA::keysFromData(const Bytes &pkcs12, const QString &password)
{
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
{
    constexpr std::size_t paddingSize = 11;
    const std::size_t blockSize = key ? key->blockSize() : 0;
    if (operation > CipherDecrypt || data.empty() || blockSize <= paddingSize)
        return std::nullopt;
    const std::size_t chunkSize = operation == CipherEncrypt ? blockSize - paddingSize : blockSize;
    BytesBuilder output((data.size() + chunkSize - 1) / chunkSize * blockSize);
    std::size_t capacity = blockSize;
    for (std::size_t done = 0; done < data.size(); done += chunkSize) {
        const Bytes chunk(data.data() + done, std::min(chunkSize, data.size() - done));
        const auto result = operation == CipherEncrypt ? key->encrypt(chunk) : key->decrypt(chunk);
        if (!result || result->size() > capacity)
            return std::nullopt;
        output.append(*result);
        capacity = result->size();
    }
    return output.take();
}

std::optional<Bytes> AFRSA::signDataWithPrivateKey(const Bytes &data) const
{
    const auto key = privateKey();
    const auto [name, digest] = digestFor(m_padding, data);
    return key && digest ? key->sign(*digest, name) : std::nullopt;
}

bool AFRSA::verifyDataWithPublicKey(const Bytes &data, const Bytes &signature) const
{
    const auto key = publicKey();
    const auto [name, digest] = digestFor(m_padding, data);
    return key && digest && key->verify(*digest, name, signature);
}

} // namespace kelpay

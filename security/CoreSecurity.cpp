#include "security/CoreSecurity.h"

#include "platform/Bundle.h"
#include "platform/JsonWriter.h"
#include "platform/Log.h"
#include "security/AFAES.h"
#include "security/AFRSA.h"
#include "security/Base64.h"
#include "security/BlockCipher.h"
#include "security/Random.h"

#include <QStringBuilder>

#include <new>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

constexpr int lineLength = 76;

const QString latestKey = u"latest_key"_s;

std::optional<Bytes> plainText(const Bytes &iv, const std::function<void(BytesBuilder &)> &write)
try {
    BytesBuilder plain(4096, Storage::SecretPages);
    plain.append(iv);
    write(plain);
    return plain.take();
} catch (const std::bad_alloc &) {
    return std::nullopt;
}

// The symmetric key under the public key of the client certificate.
std::optional<Bytes> wrapped(const Bytes &key)
{
    auto &rsa = AFRSA::sharedAFRSA();
    const auto file = Bundle::sdk().dataForResource(u"IOSNewCert"_s, u"pfx"_s);
    if (!rsa.keysFromData(file.value_or(Bytes()), u"qwpLumaXYT@#781"_s))
        qCWarning(logSecurity,
                  "IOSNewCert.pfx is missing or can't be used, so the service will refuse the request: put the "
                  "certificate that it issued among the SDK's resources");
    return rsa.encryptDataWithPublicKey(key);
}

} // namespace

QString CoreSecurity::encryptRequest(const QJsonObject &request) const
{
    return encryptRequest([&request](BytesBuilder &out) { appendJson(out, request); });
}

QString CoreSecurity::encryptRequest(const std::function<void(BytesBuilder &)> &write) const
{
    const auto key = generateSymmetricKeyForAlgorithm(CipherAES);
    const auto iv = generateIVForAlgorithm(CipherAES);
    if (const auto keyText = key ? base64EncodedData(*key) : std::nullopt)
        m_defaults.setUtf8(latestKey, *keyText);
    std::optional<Bytes> cipher;
    if (key && iv)
        cipher = AFAES::sharedAFAES().doCipher(plainText(*iv, write), key, iv, CipherEncrypt);
    const auto keyBlock = key ? wrapped(*key) : std::nullopt;

    const auto rsaText = keyBlock ? base64EncodedString(*keyBlock) : std::nullopt;
    const auto aesText = cipher ? base64EncodedString(*cipher, lineLength) : std::nullopt;

    const QString null = u"(null)"_s;
    return u'\'' % rsaText.value_or(null) % u'#' % aesText.value_or(null) % "\n'"_L1;
}

std::optional<Bytes> CoreSecurity::decryptRequest(const QString &text) const
{
    const auto keyText = m_defaults.utf8(latestKey);
    const auto key = keyText ? decodeBase64(keyText->view(), UnknownCharacters::Refuse) : std::nullopt;
    // ECB takes no vector.
    return doBlockCipherWithAlgorithm(base64DecodedDataWithString(text), CipherAES, key, std::nullopt, CipherDecrypt,
                                      true, true);
}

void CoreSecurity::dumpData(const Bytes &bytes) const
{
    for ([[maybe_unused]] const auto byte : bytes.span()) {
    }
}

} // namespace kelpay

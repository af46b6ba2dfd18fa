#include "Envelope.h"

#include "OpenSsl.h"

#include <openssl/rsa.h>

#include <algorithm>

namespace kelpay::sandbox {

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype keySize = 32;
constexpr qsizetype blockSize = 16;
constexpr qsizetype lineSize = 76;

struct Parts
{
    QByteArray wrappedKey;
    QByteArray cipherText;
};

/// Canonical base64 only: right alphabet, padding there, nothing else.
std::optional<QByteArray> decodeBase64(const QByteArray &text)
{
    const auto decoded = QByteArray::fromBase64Encoding(text, QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded || decoded.decoded.isEmpty() || decoded.decoded.toBase64() != text)
        return std::nullopt;
    return decoded.decoded;
}

std::optional<QByteArray> joinLines(const QByteArray &text, EnvelopeReport &report)
{
    QByteArray joined;
    qsizetype start = 0;
    while (true) {
        const qsizetype lineBreak = text.indexOf("\r\n", start);
        const bool isLast = lineBreak < 0;
        const QByteArray line = text.mid(start, isLast ? -1 : lineBreak - start);
        ++report.lines;
        report.longestLine = std::max(report.longestLine, static_cast<int>(line.size()));
        if (isLast ? line.isEmpty() || line.size() > lineSize : line.size() != lineSize) {
            report.reason = u"line %1 of the AES part has %2 characters"_s.arg(report.lines).arg(line.size());
            return std::nullopt;
        }
        joined += line;
        if (isLast)
            return joined;
        start = lineBreak + 2;
    }
}

std::optional<Parts> split(const QByteArray &body, EnvelopeReport &report)
{
    if (!body.startsWith('\'')) {
        report.reason = u"no apostrophe at the start"_s;
        return std::nullopt;
    }
    if (body.size() < 3 || !body.endsWith("\n'")) {
        report.reason = u"no line feed and apostrophe at the end"_s;
        return std::nullopt;
    }
    if (body.count('#') != 1) {
        report.reason = u"%1 characters \"#\" instead of one"_s.arg(body.count('#'));
        return std::nullopt;
    }
    const qsizetype middle = body.indexOf('#');
    const auto wrappedKey = decodeBase64(body.mid(1, middle - 1));
    if (!wrappedKey) {
        report.reason = u"the RSA part is not one line of base64"_s;
        return std::nullopt;
    }
    const auto joined = joinLines(body.mid(middle + 1, body.size() - middle - 3), report);
    if (!joined)
        return std::nullopt;
    const auto cipherText = decodeBase64(*joined);
    if (!cipherText) {
        report.reason = u"the AES part is not base64"_s;
        return std::nullopt;
    }
    if (cipherText->size() % blockSize != 0 || cipherText->size() < 2 * blockSize) {
        report.reason =
            u"the AES part has %1 bytes: not whole blocks, or no room for a request"_s.arg(cipherText->size());
        return std::nullopt;
    }
    return Parts{*wrappedKey, *cipherText};
}

/// Empty where the key can't be had. Newer libraries answer bad padding with random bytes, so the length is tested too.
QByteArray unwrapKey(const QByteArray &wrapped, EVP_PKEY *privateKey)
{
    const KeyContextHandle context(EVP_PKEY_CTX_new_from_pkey(libraryWithLegacy(), privateKey, nullptr));
    std::size_t size = static_cast<std::size_t>(EVP_PKEY_get_size(privateKey));
    QByteArray key(static_cast<qsizetype>(size), '\0');
    const bool opened = context && EVP_PKEY_decrypt_init(context.get()) > 0 &&
                        EVP_PKEY_CTX_set_rsa_padding(context.get(), RSA_PKCS1_PADDING) > 0 &&
                        EVP_PKEY_decrypt(context.get(), reinterpret_cast<unsigned char *>(key.data()), &size,
                                         reinterpret_cast<const unsigned char *>(wrapped.constData()),
                                         static_cast<std::size_t>(wrapped.size())) > 0;
    ERR_clear_error();
    return opened && size == keySize ? key.first(keySize) : QByteArray();
}

/// AES-256 with PKCS#7 padding and a vector of zeros, in the mode of `cipher`; std::nullopt for bad padding.
std::optional<QByteArray> applyCipher(const EVP_CIPHER *cipher, bool encrypt, const QByteArray &key,
                                      const QByteArray &input)
{
    const QByteArray zeros(blockSize, '\0');
    const CipherContextHandle context(EVP_CIPHER_CTX_new());
    QByteArray output(input.size() + blockSize, '\0');
    auto *out = reinterpret_cast<unsigned char *>(output.data());
    int written = 0;
    int tail = 0;
    const bool done =
        context &&
        EVP_CipherInit_ex(context.get(), cipher, nullptr, reinterpret_cast<const unsigned char *>(key.constData()),
                          reinterpret_cast<const unsigned char *>(zeros.constData()), encrypt ? 1 : 0) == 1 &&
        EVP_CipherUpdate(context.get(), out, &written, reinterpret_cast<const unsigned char *>(input.constData()),
                         static_cast<int>(input.size())) == 1 &&
        EVP_CipherFinal_ex(context.get(), out + written, &tail) == 1;
    ERR_clear_error();
    if (!done)
        return std::nullopt;
    output.truncate(written + tail);
    return output;
}

} // namespace

std::optional<OpenedEnvelope> openEnvelope(const QByteArray &body, EVP_PKEY *privateKey, EnvelopeReport &report)
{
    const auto parts = split(body, report);
    if (!parts)
        return std::nullopt;
    const QByteArray key = unwrapKey(parts->wrappedKey, privateKey);
    if (key.isEmpty()) {
        report.reason = u"the RSA part holds no 32-byte key for this service"_s;
        return std::nullopt;
    }
    const auto plain = applyCipher(EVP_aes_256_cbc(), false, key, parts->cipherText);
    if (!plain) {
        report.reason = u"the AES part does not open under its key"_s;
        return std::nullopt;
    }
    if (plain->first(blockSize) != QByteArray(blockSize, '\0')) {
        report.reason = u"the first block of the plain text is not the initialisation vector"_s;
        return std::nullopt;
    }
    report.ok = true;
    return OpenedEnvelope{key, plain->sliced(blockSize)};
}

QByteArray sealAnswer(const QByteArray &plain, const QByteArray &key)
{
    const QByteArray base64 = applyCipher(EVP_aes_256_ecb(), true, key, plain).value_or(QByteArray()).toBase64();
    return '"' + QByteArray(base64).replace('/', "\\/") + '"';
}

} // namespace kelpay::sandbox

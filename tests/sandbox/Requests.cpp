#include "Requests.h"

#include "sandbox/IdentityGenerator.h"

#include <QJsonDocument>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <openssl/rsa.h>

namespace kelpay::sandbox::test {

using namespace Qt::StringLiterals;

namespace {

const QString device = u"0A1B2C3D-0000-4000-8000-0123456789AB"_s;

const unsigned char *bytes(const QByteArray &array)
{
    return reinterpret_cast<const unsigned char *>(array.constData());
}

QByteArray cipher(const EVP_CIPHER *algorithm, bool encrypt, const QByteArray &input, const QByteArray &key,
                  const QByteArray &vector)
{
    const CipherContextHandle context(EVP_CIPHER_CTX_new());
    QByteArray output(input.size() + 16, '\0');
    auto *out = reinterpret_cast<unsigned char *>(output.data());
    int written = 0;
    int tail = 0;
    EVP_CipherInit_ex(context.get(), algorithm, nullptr, bytes(key), bytes(vector), encrypt ? 1 : 0);
    EVP_CipherUpdate(context.get(), out, &written, bytes(input), static_cast<int>(input.size()));
    if (EVP_CipherFinal_ex(context.get(), out + written, &tail) != 1)
        return {};
    return output.first(written + tail);
}

} // namespace

const QString &identityFolder()
{
    static const QTemporaryDir folder;
    static const QString path = folder.path();
    static const bool made = !makeIdentity(path, PfxFormat::Legacy);
    EXPECT_TRUE(made);
    return path;
}

const Identity &identity()
{
    static const Identity loaded = [] {
        QString problem;
        auto found = Identity::load(identityFolder(), problem);
        EXPECT_TRUE(found) << qPrintable(problem);
        return found.value_or(Identity());
    }();
    return loaded;
}

QJsonObject tokenRequest(const QString &msisdn, const QString &parameters)
{
    return {{"vi"_L1, u"210;14"_s},
            {"ar"_L1, msisdn + u";127.0.0.1;"_s},
            {"m"_L1, 100},
            {"ct"_L1, u"2026-11-22 03:04:05"_s},
            {"ti"_L1, 300},
            {"cs"_L1, u"org.example.host"_s},
            {"dd"_L1, u"APPL|x86_64|12|my|device|Desktop"_s},
            {"ai"_L1, u"0"_s},
            {"di"_L1, device},
            {"ap"_L1, QJsonObject{{"v"_L1, u""_s}, {"r"_L1, parameters}}},
            {"pc"_L1, 100003},
            {"ad"_L1, QJsonObject{{"r"_L1, u"extra"_s}}},
            {"pn"_L1, u"org.example.host"_s},
            {"mi"_L1, u"4000"_s},
            {"fp"_L1, device}};
}

QJsonObject paymentRequest(const QJsonObject &tokenAnswer, const QString &card, const QString &code,
                           const QString &msisdn)
{
    const QJsonObject detail = tokenAnswer.value("rd"_L1).toObject();
    const bool isWallet = code == "99"_L1;
    const bool isFull = code == "59"_L1;
    const bool usesPinTerminal = !isFull && detail.contains("ta"_L1);
    QJsonObject request = tokenRequest(msisdn);
    request.insert("m"_L1, 200);
    request.insert("pc"_L1, 200000);
    request.insert("ad"_L1, QJsonObject{{"r"_L1, u"NA"_s}});
    request.insert("ap"_L1,
                   QJsonObject{{"v"_L1, u""_s},
                               {"r"_L1, QStringList{u"C1"_s, detail.value("t"_L1).toString(), isWallet ? u"NA"_s : card,
                                                    isWallet ? u"NA"_s : u"13579"_s, code, isFull ? u"246"_s : u"NA"_s,
                                                    isFull ? u"0512"_s : u"NA"_s, detail.value("rn"_L1).toString(),
                                                    detail.value(usesPinTerminal ? "ta"_L1 : "tb"_L1).toString()}
                                            .join(u'|')}});
    return request;
}

QByteArray compact(const QJsonObject &object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

QByteArray encryptCbc(const QByteArray &plain, const QByteArray &key, const QByteArray &vector)
{
    return cipher(EVP_aes_256_cbc(), true, plain, key, vector);
}

QByteArray decryptEcb(const QByteArray &cipherText, const QByteArray &key)
{
    return cipher(EVP_aes_256_ecb(), false, cipherText, key, QByteArray(16, '\0'));
}

QByteArray wrapKey(const QByteArray &key)
{
    const KeyContextHandle context(EVP_PKEY_CTX_new_from_pkey(libraryWithLegacy(), identity().envelopeKey(), nullptr));
    QByteArray wrapped(256, '\0');
    std::size_t size = 256;
    EVP_PKEY_encrypt_init(context.get());
    EVP_PKEY_CTX_set_rsa_padding(context.get(), RSA_PKCS1_PADDING);
    EXPECT_GT(EVP_PKEY_encrypt(context.get(), reinterpret_cast<unsigned char *>(wrapped.data()), &size, bytes(key),
                               static_cast<std::size_t>(key.size())),
              0);
    return wrapped;
}

QByteArray inLines(const QByteArray &base64)
{
    QByteArray lines;
    for (qsizetype start = 0; start < base64.size(); start += 76)
        lines += (start > 0 ? "\r\n" : "") + base64.mid(start, 76);
    return lines;
}

QByteArray seal(const QByteArray &json, const QByteArray &key)
{
    const QByteArray vector("sixteen bytes IV");
    return '\'' + wrapKey(key).toBase64() + '#' + inLines(encryptCbc(vector + json, key, vector).toBase64()) + "\n'";
}

QByteArray openAnswer(QByteArray body, const QByteArray &key)
{
    body.replace("\\", "");
    return decryptEcb(QByteArray::fromBase64(body.mid(1, body.size() - 2), QByteArray::AbortOnBase64DecodingErrors),
                      key);
}

} // namespace kelpay::sandbox::test

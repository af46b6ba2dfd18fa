#include "security/Base64.h"
#include "security/Digests.h"
#include "security/Random.h"
#include "security/toolbox/Hex.h"
#include "security/toolbox/Hmac.h"
#include "security/toolbox/OldDigests.h"

#include <gtest/gtest.h>

#include <QByteArray>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

Bytes bytes(std::string_view text)
{
    return Bytes(text);
}

std::string hexOf(const std::optional<Bytes> &bytes)
{
    return bytes ? std::string(encodeToHexData(*bytes)->view()) : "none";
}

using Digest = std::optional<Bytes> (*)(const Bytes &);

struct KnownDigest
{
    Digest digest;
    std::string_view text;
    const char *answer;
};

// MD2 as in RFC 1319.
const KnownDigest knownDigests[] = {
    {MD2, "", "8350e5a3e24c153df2275c9f80692773"},
    {MD2, "12345678901234567890123456789012345678901234567890123456789012345678901234567890",
     "d5976f79d83d3a0dc9806c3c66f3efd8"},
    {MD4, "abc", "a448017aaf21d8525fc10ae87aa6729d"},
    {MD5, "abc", "900150983cd24fb0d6963f7d28e17f72"},
    {SHA1, "abc", "a9993e364706816aba3e25717850c26c9cd0d89d"},
    {SHA224, "abc", "23097d223405d8228642a477bda255b32aadbce4bda0b3f7e36c9da7"},
    {SHA256, "abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
    {SHA256, "", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
    {SHA384, "abc", "cb00753f45a35e8bb5a03d699ac65007272c32ab0eded1631a8b605a43ff5bed8086072ba1e7cc2358baeca134c825a7"},
    {SHA512, "abc",
     ("ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a"
      "2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9ac94fa54ca49f")},
};

// As in RFC 2202 and 4231, in the order of the algorithms' numbers.
const char *const knownHmacs[] = {
    "effcdf6ae5eb2fa2d27416d5f184df9c259a7c79",
    "750c783e6ab0b503eaa86e310a5db738",
    "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843",
    "af45d2e376484031617f78d2b58a6b1b9c7ef464f5a01b47e42ec3736322445e8e2240ca5e69e2c78b3239ecfab21649",
    ("164b7a7bfcf819e2e395fbe73b56e0a387bd64222e831fd610270cd7ea250554"
     "9758bf75c05a994a6d034f65f8f0e6fdcaeab1a34d4a6b4b636e070a38bce737"),
    "a30e01098bc6dbbf45690f3a7e9e6d0f8bbea2a39e6148008fd05e44",
    "",
};

} // namespace

TEST(Base64, RoundTripsEveryLength)
{
    EXPECT_EQ(base64EncodedString(bytes("abc")), u"YWJj"_s);
    EXPECT_EQ(base64EncodedString(bytes("ab")), u"YWI="_s);
    for (std::size_t size = 0; size < 200; ++size) {
        const Bytes data = *generateSecureRandomData(size);
        const QByteArray expected = data.toByteArray().toBase64();
        EXPECT_EQ(base64EncodedData(data)->toByteArray(), expected);
        EXPECT_EQ(base64EncodedString(data)->toLatin1(), expected);
        EXPECT_EQ(base64DecodedDataWithString(*base64EncodedString(data)), data);
        const QString lines = *base64EncodedString(data, 76);
        EXPECT_EQ(QString(lines).remove(u"\r\n"_s).toLatin1(), expected);
        EXPECT_EQ(base64DecodedData(Bytes::fromText(lines)), data);
        EXPECT_EQ(base64DecodedDataWithString(lines).has_value(), size <= 57);
    }
}

TEST(Base64, StrictRefusesWhatLenientIgnores)
{
    for (const auto *text : {"YW\nJj", "YW-Jj", " YWJj", "YWJj\n", "Y*W_J\xffj", "YWJj\xc3\xa9"}) {
        EXPECT_FALSE(base64DecodedDataWithString(QString::fromLatin1(text))) << text;
        EXPECT_EQ(base64DecodedData(bytes(text)), bytes("abc")) << text;
        EXPECT_EQ(base64DecodedDataWithData(bytes(text)), bytes("abc")) << text;
    }
    for (const auto *text : {"Y", "YW", "YWJ", "====", "Y===", "YW==YWJj", "YW=j", "=YWJ", "YWJj=", "YWJj===="}) {
        EXPECT_FALSE(base64DecodedDataWithString(QString::fromLatin1(text))) << text;
        EXPECT_FALSE(base64DecodedData(bytes(text))) << text;
    }
    // Characters whose low byte alone would belong to the alphabet.
    EXPECT_FALSE(base64DecodedDataWithString(u"YWJ\u016a"_s));
    EXPECT_FALSE(base64DecodedDataWithString(u"\u0459WI="_s));
    EXPECT_EQ(base64DecodedDataWithString(QString()), Bytes());
}

TEST(Hex, EncodesAndDecodes)
{
    EXPECT_EQ(encodeToHexString(bytes(std::string_view("\0\xab", 2))), u"00ab"_s);
    EXPECT_EQ(decodeFromHexData(bytes("00AB")), decodeFromHexData(bytes("00ab")));
    EXPECT_EQ(decodeFromHexData(bytes("00abc")), bytes(std::string_view("\0\xab", 2))) << "a lone digit is not used";
    EXPECT_EQ(decodeFromHexData(bytes("00abg")), bytes(std::string_view("\0\xab", 2)));
    const Bytes data = *generateSecureRandomData(1000);
    EXPECT_EQ(encodeToHexData(data)->toByteArray(), data.toByteArray().toHex());
    EXPECT_EQ(decodeFromHexData(*encodeToHexData(data)), data);
    EXPECT_EQ(encodeToHexString(u"سلام"_s), u"d8b3d984d8a7d985"_s);
    EXPECT_EQ(decodeFromHexString(u"d8b3d984d8a7d985"_s), u"سلام"_s);
    EXPECT_EQ(decodeFromHexString(u"efbbbf61"_s), u"\ufeffa"_s);
    EXPECT_FALSE(decodeFromHexString(u"ff"_s)) << "no UTF-8";
}

TEST(Digests, GivePublishedAnswers)
{
    for (const auto &[digest, text, answer] : knownDigests)
        EXPECT_EQ(hexOf(digest(Bytes(text))), answer) << text;
}

TEST(Digests, HmacsGivePublishedAnswers)
{
    const Bytes text(std::string_view("what do ya want for nothing?"));
    unsigned algorithm = 0;
    for (const std::string answer : knownHmacs) {
        EXPECT_EQ(hexOf(HmacWithAlgorithm(text, algorithm, Bytes(std::string_view("Jefe")))), answer) << algorithm;
        EXPECT_EQ(generateHmacKeyForAlgorithm(algorithm)->size(), answer.size() / 2) << algorithm;
        ++algorithm;
    }
    EXPECT_EQ(hexOf(HmacWithAlgorithm(Bytes(), HmacSHA256, Bytes())),
              "b613679a0814d9ec772f95d778c35fc5ff1697c493715653c6c712144292c5ad");
}

} // namespace kelpay

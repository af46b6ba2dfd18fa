#include "security/AFAES.h"
#include "security/AFRSA.h"
#include "security/Base64.h"
#include "security/BlockCipher.h"
#include "security/Digests.h"
#include "security/Random.h"
#include "security/keychain/SealedValue.h"
#include "tests/Sanitized.h"

#include <gtest/gtest.h>

#include <cerrno>

// A sanitizer has an allocator of its own.
#ifndef KELPAY_SANITIZED_MEMORY

namespace {

// The allocation of this thread that fails, counted down; 0 for none.
thread_local long failing = 0;

} // namespace

extern "C" void *mallocOfTheSystem(std::size_t size) __asm__("__libc_malloc");

// Of the whole process, OpenSSL's and Qt's as well.
extern "C" void *malloc(std::size_t size)
{
    if (failing > 0 && --failing == 0) {
        errno = ENOMEM;
        return nullptr;
    }
    return mallocOfTheSystem(size);
}

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

// Runs `operation` again and again, each time with a later one of its allocations failing.
template <typename Operation> void failEachAllocation(const char *name, Operation operation)
{
    SCOPED_TRACE(name);
    const auto expected = operation();
    ASSERT_TRUE(expected);
    int nulls = 0;
    for (long at = 1;; ++at) {
        auto result = decltype(operation()){};
        failing = at;
        EXPECT_NO_THROW(result = operation()) << at;
        const bool isOver = failing > 0;
        failing = 0;
        EXPECT_TRUE(!result || *result == *expected) << at;
        nulls += result ? 0 : 1;
        if (isOver)
            break;
    }
    EXPECT_GT(nulls, 0);
}

} // namespace

TEST(Allocation, ThatFailsGivesNull)
{
    const Bytes data(std::string(100, 'x'));
    const Bytes key(std::string(32, 'k'));
    const Bytes iv(key.data(), 16);
    const QString text(100, u'a');
    const auto run = [](const char *name, const auto &operation) { failEachAllocation(name, operation); };
    run("SHA256", [&] { return SHA256(data); });
    run("base64 text", [&] { return std::optional<QString>(base64EncodedString(data)); });
    run("base64 lines", [&] { return std::optional<QString>(base64EncodedString(data, 76)); });
    run("base64 bytes", [&] { return std::optional<Bytes>(base64EncodedData(data)); });
    run("base64 of text", [&] { return base64DecodedDataWithString(text); });
    run("base64 of bytes", [&] { return base64DecodedData(data); });
    run("random", [&] { return generateSecureRandomData(32) ? std::optional(true) : std::nullopt; });
    run("cipher", [&] { return doBlockCipherWithAlgorithm(data, CipherAES, key, {}, CipherEncrypt, true); });
    run("AFAES", [&] { return AFAES::sharedAFAES().doCipher(data, key, iv, CipherEncrypt); });

    const Bytes sealed = *sealValue(key, data, iv);
    run("sealing", [&] { return sealValue(key, data, iv) ? std::optional(true) : std::nullopt; });
    run("opening", [&] { return openValue(key, sealed, iv); });

    auto &rsa = AFRSA::sharedAFRSA();
    ASSERT_TRUE(rsa.generateKeys());
    run("signature", [&] { return rsa.signDataWithPrivateKey(data); });
    run("RSA", [&] {
        const auto cipher = rsa.encryptDataWithPublicKey(data);
        return cipher ? rsa.decryptDataWithPrivateKey(*cipher) : cipher;
    });
}

} // namespace kelpay

#endif

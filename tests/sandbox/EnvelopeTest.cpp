#include "sandbox/Envelope.h"

#include "Requests.h"

#include <gtest/gtest.h>

namespace kelpay::sandbox::test {

namespace {

const QByteArray key(32, 'k');
const QByteArray vector("sixteen bytes IV");

std::optional<OpenedEnvelope> open(const QByteArray &body, EnvelopeReport &report)
{
    return openEnvelope(body, identity().envelopeKey(), report);
}

} // namespace

TEST(Envelope, RefusesEveryOtherForm)
{
    const QByteArray json = compact(tokenRequest());
    const QByteArray good = seal(json, key);
    const QByteArray wrapped = wrapKey(key).toBase64();
    const QByteArray cipherText = encryptCbc(vector + json, key, vector);
    const QByteArray lines = inLines(cipherText.toBase64());
    const auto envelope = [](const QByteArray &rsa, const QByteArray &aes) { return '\'' + rsa + '#' + aes + "\n'"; };
    EnvelopeReport untouched;
    ASSERT_TRUE(open(envelope(wrapped, lines), untouched));

    const QByteArray headless = encryptCbc(json, key, vector);
    const QByteArray otherVector = encryptCbc(QByteArray(16, 'x') + json, key, vector);
    const std::pair<const char *, QByteArray> bodies[] = {
        {"empty", ""},
        {"one apostrophe", "'"},
        {"the frame only", "'#\n'"},
        {"no apostrophe first", good.mid(1)},
        {"no apostrophe last", good.chopped(1)},
        {"no line feed", good.chopped(2) + '\''},
        {"something after the end", good + '\n'},
        {"two hashes", QByteArray(good).replace("#", "##")},
        {"no hash", QByteArray(good).remove(good.indexOf('#'), 1)},
        {"RSA part (null)", envelope("(null)", lines)},
        {"RSA part in lines", envelope(inLines(wrapped), lines)},
        {"RSA part without padding characters", envelope(QByteArray(wrapped).replace("=", ""), lines)},
        {"RSA part for nobody", envelope(QByteArray(256, 'r').toBase64(), lines)},
        {"RSA part cut", envelope(wrapped.chopped(4), lines)},
        {"key of 16 bytes", envelope(wrapKey(key.first(16)).toBase64(), lines)},
        {"AES part (null)", envelope(wrapped, "(null)")},
        {"AES part in one line", envelope(wrapped, cipherText.toBase64())},
        {"line feeds alone", envelope(wrapped, QByteArray(lines).replace("\r\n", "\n"))},
        {"a break after the last line", envelope(wrapped, lines + "\r\n")},
        {"lines of 64", envelope(wrapped, QByteArray(lines).insert(64, "\r\n"))},
        {"URL-safe base64", envelope(wrapped, inLines(cipherText.toBase64(QByteArray::Base64UrlEncoding)))},
        {"no whole block", envelope(wrapped, inLines(cipherText.chopped(1).toBase64()))},
        {"a block short", envelope(wrapped, inLines(cipherText.chopped(16).toBase64()))},
        {"no vector in the plain text", envelope(wrapped, inLines(headless.toBase64()))},
        {"another vector in the plain text", envelope(wrapped, inLines(otherVector.toBase64()))},
        {"another key", envelope(wrapKey(QByteArray(32, 'o')).toBase64(), lines)},
    };
    for (const auto &[name, body] : bodies) {
        EnvelopeReport report;
        EXPECT_FALSE(open(body, report)) << name;
        EXPECT_FALSE(report.ok) << name;
        EXPECT_FALSE(report.reason.isEmpty()) << name;
    }
}

} // namespace kelpay::sandbox::test

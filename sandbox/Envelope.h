#pragma once

#include <QByteArray>
#include <QString>

#include <openssl/types.h>

#include <optional>

namespace kelpay::sandbox {

/// What the bytes of one envelope looked like.
struct EnvelopeReport
{
    bool ok = false;
    QString reason;      ///< the first thing that is wrong; "" when ok
    int lines = 0;       ///< lines of the AES part
    int longestLine = 0; ///< characters
};

struct OpenedEnvelope
{
    QByteArray key;  ///< 32 bytes; the answer is sealed under it
    QByteArray json; ///< the request's text, without the initialisation vector
};

/// Opens a request: an apostrophe, one base64 line with the AES key under RSA PKCS#1 v1.5, "#", the AES-256-CBC text as
/// base64 in lines of 76 characters ended by CR LF, a line feed, an apostrophe. Every byte is held to that form.
///
/// The initialisation vector is not sent. It is the first block of the plain text, so the first block of the cipher
/// text is the encryption of sixteen zeros whatever the vector was: decrypted under a vector of zeros it has to give
/// zeros, and the rest does not depend on the vector at all.
std::optional<OpenedEnvelope> openEnvelope(const QByteArray &body, EVP_PKEY *privateKey, EnvelopeReport &report);

/// Seals an answer under the request's key, AES-256-ECB, as a JSON string literal whose "/" are written "\/".
QByteArray sealAnswer(const QByteArray &plain, const QByteArray &key);

} // namespace kelpay::sandbox

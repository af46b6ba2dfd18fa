#pragma once

#include "platform/Bytes.h"

#include <QJsonObject>
#include <QString>

#include <memory>
#include <string>
#include <vector>

namespace kelpay::bench {

/// The same work as the SDK's, with nothing but the library's own calls: ciphers fetched and the certificate imported
/// beforehand, plain buffers, no wiping unless said.
class BareCalls
{
public:
    /// With the certificate file at `path`.
    explicit BareCalls(const std::string &path);
    ~BareCalls();

    /// The envelope: random bytes, JSON text, one read of the file, AES, RSA and base64.
    std::string seal(const QJsonObject &request);
    /// The same with what can be kept kept, an RSA context ready, and JSON that Qt doesn't write.
    std::string sealLean(const QJsonObject &request);
    /// base64 and AES-256 in ECB mode under `key`.
    std::vector<unsigned char> open(const std::string &text, const unsigned char *key);
    /// CMS enveloped data of `plain` for the same certificate, in DER form.
    std::size_t sealWithCms(const std::vector<unsigned char> &plain);
    /// AES-256 in CBC mode into a fresh buffer that is wiped afterwards.
    std::size_t encrypt(const Bytes &data, const unsigned char *key, const unsigned char *iv);

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

} // namespace kelpay::bench

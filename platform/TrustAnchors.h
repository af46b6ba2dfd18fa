#pragma once

#include "Bytes.h"

#include <memory>
#include <mutex>

namespace kelpay {

/// The certificates of a PEM file that vouch for a server, parsed once: that is a sixth of an exchange for the
/// service's own and several exchanges for a system's store. The caller reads the file each time; what it holds now is
/// what counts.
class TrustAnchors
{
public:
    struct Parsed;
    /// Who else vouches: nobody, or whom libcurl knows besides.
    enum class Company { Alone, Beside };

    /// Lets the certificates of `pem` vouch for the peer of a libcurl handle; what is returned must outlive its
    /// transfer. Null, and nothing is set, where there are none, where libcurl's TLS is not the OpenSSL of this
    /// library, or where a proxy may speak TLS: libcurl must be given the PEM itself then.
    std::shared_ptr<const Parsed> vouchFor(void *handle, const Bytes &pem, Company company);

private:
    std::shared_ptr<const Parsed> parsed(const Bytes &pem);

    std::mutex m_mutex; // over what follows
    Bytes m_pem;
    std::shared_ptr<const Parsed> m_parsed;
};

} // namespace kelpay

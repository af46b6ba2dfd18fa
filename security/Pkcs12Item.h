#pragma once

#include "platform/Bytes.h"
#include "security/KeyRef.h"

#include <QString>

#include <ctime>
#include <memory>
#include <optional>
#include <vector>

// OpenSSL's certificate, known by name only.
struct x509_st;

namespace kelpay {

struct Pkcs12Import;

/// The first item of a PKCS#12 file: a private RSA key and its certificate chain, leaf first.
class Pkcs12Item
{
public:
    /// Imports `file`. The status is -25293 for a wrong password, -26275 for bytes that can't be understood and for a
    /// damaged key, -108 where memory runs out; a file without a key and its certificate gives status 0 and no item.
    /// Files of desktop keychains (RC2-40, triple DES) are understood.
    static Pkcs12Import import(const Bytes &file, const QString &password);

    const KeyRef &privateKey() const { return m_privateKey; }
    /// Of the leaf.
    const KeyRef &publicKey() const { return m_publicKey; }

    /// Whether the chain is valid at `moment` with its own certificates as the anchors.
    bool isTrusted(std::time_t moment) const;

    /// The seconds around `moment`, `from` up to but without `until`, in which no certificate of the chain begins or
    /// ends its validity.
    struct Period
    {
        std::time_t from;
        std::time_t until;
    };
    Period unchangedAround(std::time_t moment) const;

private:
    using Chain = std::vector<std::shared_ptr<x509_st>>;
    Pkcs12Item(KeyRef privateKey, KeyRef publicKey, Chain chain);

    KeyRef m_privateKey;
    KeyRef m_publicKey;
    Chain m_chain;
};

struct Pkcs12Import
{
    int status;
    std::optional<Pkcs12Item> item;
};

} // namespace kelpay

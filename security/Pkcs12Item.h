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

/// The first item of a PKCS#12 file: a private key and its certificate chain, leaf first. A file that holds only one of
/// the two has an item without the other.
class Pkcs12Item
{
public:
    /// Imports `file`. The status is -25293 for a wrong password and -26275 for bytes that can't be understood; a file
    /// that holds nothing gives status 0 and no item. Files of desktop keychains (RC2-40, triple DES) are understood.
    static Pkcs12Import import(const Bytes &file, const QString &password);

    const std::optional<KeyRef> &privateKey() const { return m_privateKey; }
    /// Of the leaf.
    std::optional<KeyRef> publicKey() const;
    bool hasChain() const { return !m_chain.empty(); }

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
    std::optional<KeyRef> m_privateKey;
    std::vector<std::shared_ptr<x509_st>> m_chain;
};

struct Pkcs12Import
{
    int status;
    std::optional<Pkcs12Item> item;
};

} // namespace kelpay

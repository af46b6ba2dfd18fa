#pragma once

#include "platform/Bytes.h"
#include "platform/UserDefaults.h"

#include <QJsonObject>
#include <QString>

#include <functional>
#include <optional>

namespace kelpay {

/// Seals requests to the payment service and opens its answers. Holds no state of its own; make one where it is needed.
/// An answer is opened with the key of the request sealed last, which is kept in the user defaults under "latest_key".
class CoreSecurity
{
public:
    explicit CoreSecurity(UserDefaults &defaults = UserDefaults::standard()) : m_defaults(defaults) {}

    /// The envelope text of `request`, ready to be sent as UTF-8. A step that fails leaves the text "(null)" in its
    /// place.
    QString encryptRequest(const QJsonObject &request) const;
    /// The same for a request that holds what must not be copied: `write` puts its JSON straight into what is sealed.
    QString encryptRequest(const std::function<void(BytesBuilder &out)> &write) const;
    /// The plain bytes of an answer's base64 text, or std::nullopt when it can't be opened.
    std::optional<Bytes> decryptRequest(const QString &text) const;
    /// Walks the bytes and produces nothing; no caller depends on it.
    void dumpData(const Bytes &bytes) const;

private:
    UserDefaults &m_defaults;
};

} // namespace kelpay

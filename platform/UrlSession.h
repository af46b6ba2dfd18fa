#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <functional>
#include <variant>

namespace kelpay {

struct UrlResponse
{
    int status = 0;
    QByteArray body;
};

/// No HTTP response at all: the text says what went wrong, for the log.
struct TransportError
{
    QString localizedDescription;
    /// The request, or a part of it, may have reached the other side.
    bool mayHaveLeft = false;
};

using UrlResult = std::variant<UrlResponse, TransportError>;

/// HTTPS exchanges. Each uses a connection of its own, sends its request once, follows no redirect, repeats nothing,
/// and verifies peer and host name: against the bundle's "service-anchors.pem" alone where there is one, else against
/// the system's trust store. A body over its bound (1 MiB for an answer, 8 MiB for a list, 256 bytes for an echo), 60 s
/// without a byte, or 10 minutes in all is a transport error.
class UrlSession
{
public:
    using Completion = std::function<void(const UrlResult &)>;

    /// What a request asks of its sender, on the session's thread; false ends it as a transport error.
    struct Departure
    {
        std::function<bool()> isWanted; ///< Asked about once a second until the connection stands.
        std::function<bool()> leave;    ///< Asked once it stands, the moment before the request's first byte leaves.
    };

    /// POSTs `body` in the background. `completion` runs once, on the session's own thread; it is dropped only when the
    /// application goes away first.
    static void post(const QUrl &url, const QByteArray &contentType, QByteArray body, Departure departure,
                     Completion completion);

    /// The contents of a URL, fetched on the calling thread.
    static UrlResult contents(const QUrl &url);

    /// As `contents`, with the system's trust store (and the service's anchors when the host is the service's own) and
    /// a ceiling of 60 s in all.
    static UrlResult publicContents(const QUrl &url);
};

} // namespace kelpay

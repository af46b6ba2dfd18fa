#include "WireFaults.h"

#include "Envelope.h"

#include <httplib.h>

#include <sys/socket.h>

#include <algorithm>
#include <tuple>

namespace kelpay::sandbox {

namespace {

constexpr int slowSeconds = 3;
constexpr std::size_t floodSize = std::size_t{17} * 1024 * 1024;
constexpr const char *jsonType = "application/json";

/// What is written after this goes nowhere; the server's worker then drops the connection. The client is told that it
/// ends: some take an end without a word for a broken connection, others for a closed one.
void closeNow(SSL *connection)
{
    SSL_shutdown(connection);
    ::shutdown(SSL_get_fd(connection), SHUT_RDWR);
}

void resetNow(SSL *connection)
{
    const linger atOnce{.l_onoff = 1, .l_linger = 0};
    const int socket = SSL_get_fd(connection);
    ::setsockopt(socket, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    // Disconnecting a socket with no linger time sends a reset at once, whatever the worker still writes.
    const sockaddr nobody{.sa_family = AF_UNSPEC, .sa_data = {}};
    std::ignore = ::connect(socket, &nobody, sizeof nobody);
}

void redirect(httplib::Response &response, int status)
{
    response.status = status;
    response.set_header("Location", "/redirected");
}

QByteArray otherThan(QByteArray key)
{
    key[0] = static_cast<char>(key[0] ^ 1);
    return key;
}

void cut(httplib::Response &response, const QByteArray &body, bool announceLength, SSL *connection)
{
    const std::string half = body.first(body.size() / 2).toStdString();
    const auto writeHalf = [half, connection](std::size_t offset, httplib::DataSink &sink) {
        if (offset == 0)
            return sink.write(half.data(), half.size());
        closeNow(connection);
        return false;
    };
    if (announceLength)
        response.set_content_provider(
            static_cast<std::size_t>(body.size()), jsonType,
            [writeHalf](std::size_t offset, std::size_t, httplib::DataSink &sink) { return writeHalf(offset, sink); });
    else
        response.set_content_provider(jsonType, writeHalf);
}

void flood(httplib::Response &response, SSL *connection)
{
    response.set_content_provider(jsonType, [connection](std::size_t offset, httplib::DataSink &sink) {
        static const std::string block(std::size_t{64} * 1024, 'A');
        if (offset < floodSize)
            return sink.write(block.data(), block.size());
        closeNow(connection);
        return false;
    });
}

} // namespace

int statusFor(Fault fault)
{
    switch (fault) {
    case Fault::Status500:
        return 500;
    case Fault::Status201:
        return 201;
    case Fault::Redirect302:
        return 302;
    case Fault::Redirect307:
        return 307;
    case Fault::ClosedUnanswered:
    case Fault::Reset:
    case Fault::Hang:
        return 0;
    default:
        return 200;
    }
}

void answer(httplib::Response &response, const QByteArray &plain, const QByteArray &key, Fault fault, const Wire &wire)
{
    QByteArray body = sealAnswer(plain, key);
    response.status = std::max(statusFor(fault), 200);
    switch (fault) {
    case Fault::None:
    case Fault::Status500:
    case Fault::Status201:
        break;
    case Fault::Redirect302:
    case Fault::Redirect307:
        return redirect(response, statusFor(fault));
    case Fault::NotBase64:
        body = "\"this is no base64 text!\"";
        break;
    case Fault::OtherKey:
        body = sealAnswer(plain, otherThan(key));
        break;
    case Fault::NotJson:
        body = sealAnswer("rc=0", key);
        break;
    case Fault::JsonArray:
        body = sealAnswer("[0]", key);
        break;
    case Fault::EmptyBody:
        body.clear();
        break;
    case Fault::OneCharacter:
        body.truncate(1);
        break;
    case Fault::CutWithLength:
    case Fault::CutWithoutLength:
        return cut(response, body, fault == Fault::CutWithLength, wire.connection);
    case Fault::ClosedUnanswered:
        return closeNow(wire.connection);
    case Fault::Reset:
        return resetNow(wire.connection);
    case Fault::Hang:
        wire.wait(wire.hangSeconds);
        return closeNow(wire.connection);
    case Fault::Slow:
        wire.wait(slowSeconds);
        break;
    case Fault::Flood:
        return flood(response, wire.connection);
    }
    response.set_content(body.constData(), static_cast<std::size_t>(body.size()), jsonType);
}

} // namespace kelpay::sandbox

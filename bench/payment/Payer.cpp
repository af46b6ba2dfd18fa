#include "Payer.h"

#include "device/CoreFunctions.h"
#include "platform/Dispatch.h"
#include "protocol/CoreNetworking.h"

#include <QEventLoop>

namespace kelpay::bench {

using namespace Qt::StringLiterals;

namespace {

const Bytes tokenInput = Bytes::fromText(u"09120000000||order 17||724|150000|Books"_s);

QString text(const QJsonValue &value)
{
    return textValue(value).value_or(u"NA"_s);
}

Rd storedToken()
{
    return CoreFunctions().storedTokenAnswer().value_or(BaseClass()).rd;
}

Bytes paymentInput(const Rd &token)
{
    return Bytes::fromText(QStringList{u"724"_s, text(token.t), u"6037990000000006"_s, u"12345"_s, u"59"_s, u"123"_s,
                                       u"0612"_s, text(token.rn), text(token.tb)}
                               .join(u'|'));
}

/// One exchange of `attempt`, waited for on the main thread.
bool exchange(const std::shared_ptr<Attempt> &attempt, CoreNetworking::Send send, const Bytes &input)
{
    QEventLoop loop;
    bool hasSucceeded = false;
    const auto end = [&](bool ok) {
        Dispatch::main([&, ok] {
            hasSucceeded = ok;
            loop.quit();
        });
    };
    attempt->setSilenceListener([&](Attempt::Silence) { end(false); });
    CoreNetworking::sendInBackground(attempt, send, input, [&](bool ok, const QString &, const QString &) { end(ok); });
    loop.exec();
    return hasSucceeded;
}

/// What the exchange would post.
QByteArray envelope(CoreNetworking::Send send, const Bytes &input)
{
    QByteArray posted;
    Surroundings surroundings;
    surroundings.post = [&posted](const QUrl &, const QByteArray &, const QByteArray &body,
                                  const UrlSession::Departure &, const UrlSession::Completion &) { posted = body; };
    ((*CoreNetworking::create(std::move(surroundings))).*send)(input, {});
    return posted;
}

} // namespace

void prepare()
{
    CoreKeychain().setString(u"1001"_s, u"mid"_s);
}

bool pay()
{
    const auto attempt = Attempt::begin(u"order 17"_s);
    if (!attempt)
        return false;
    attempt->takeOff();
    if (!exchange(attempt, &CoreNetworking::sendTokenRequest, tokenInput))
        return false;
    const Rd token = storedToken();
    attempt->setPurchase(text(token.amn), text(token.t));
    attempt->submitted();
    const bool ok = exchange(attempt, &CoreNetworking::sendPaymentRequest, paymentInput(token));
    attempt->end();
    attempt->reported(ok ? u"0"_s : u"1"_s, true);
    return ok;
}

bool askStranger(const QByteArray &url)
{
    return std::holds_alternative<TransportError>(UrlSession::publicContents(QUrl(QString::fromLatin1(url))));
}

std::optional<Envelopes> envelopes()
{
    const auto attempt = Attempt::begin(u"order 17"_s);
    if (!attempt)
        return std::nullopt;
    attempt->takeOff();
    const bool hasToken = exchange(attempt, &CoreNetworking::sendTokenRequest, tokenInput);
    attempt->withdraw();
    attempt->end();
    if (!hasToken)
        return std::nullopt;
    // Before the next token's request, which counts the trace up.
    const QByteArray payment = envelope(&CoreNetworking::sendPaymentRequest, paymentInput(storedToken()));
    return Envelopes{envelope(&CoreNetworking::sendTokenRequest, tokenInput), payment};
}

} // namespace kelpay::bench

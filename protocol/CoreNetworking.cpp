#include "CoreNetworking.h"

#include "device/Outcomes.h"
#include "platform/Deployment.h"
#include "platform/Dispatch.h"
#include "platform/Json.h"
#include "platform/JsonWriter.h"
#include "platform/Log.h"
#include "records/Record.h"
#include "security/CoreSecurity.h"

#include <QJsonObject>
#include <QStringList>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

QString nullable(const std::optional<QString> &text)
{
    return text.value_or(u"(null)"_s);
}

} // namespace

const CoreNetworking::Exchange CoreNetworking::token{
    .name = "token",
    .isPayment = false,
    .messageType = 100,
    .processingCode = 100003,
    .read = readTokenInput,
    .movesTrace = true,
    .store = &CoreFunctions::parseTokenBody,
    .answered = &CoreNetworking::m_tokenResponseBlock,
    .failed = &CoreNetworking::m_tokenResponseBlock,
};

const CoreNetworking::Exchange CoreNetworking::payment{
    .name = "payment",
    .isPayment = true,
    .messageType = 200,
    .processingCode = 200000,
    .read = readPaymentInput,
    .movesTrace = false,
    .store = &CoreFunctions::parsePaymentBody,
    .answered = &CoreNetworking::m_paymentResponseBlock,
    // Empty on a payment's own object: whether money moved is unknown, so nothing may call it failed.
    .failed = &CoreNetworking::m_tokenResponseBlock,
};

std::shared_ptr<CoreNetworking> CoreNetworking::create(Surroundings surroundings)
{
    return std::shared_ptr<CoreNetworking>(new CoreNetworking(std::move(surroundings)));
}

void CoreNetworking::sendTokenRequest(const Bytes &input, ResponseBlock block)
{
    send(token, input, std::move(block));
}

void CoreNetworking::sendPaymentRequest(const Bytes &input, ResponseBlock block)
{
    send(payment, input, std::move(block));
}

std::optional<CoreNetworking::Input> CoreNetworking::readTokenInput(const Bytes &input, UserDefaults &defaults)
{
    const QStringList fields = input.toText().split("||"_L1);
    if (fields.size() < 3) {
        programmingError(u"a token request needs three fields: MSISDN||additional data||payment parameters"_s);
        return std::nullopt;
    }
    defaults.setString(u"rsn"_s, fields[1]);
    defaults.setString(u"pcc"_s, fields[2].split(u'|').first());
    defaults.setString(u"pn"_s, fields[0]);
    return Input{.msisdn = fields[0], .applicationData = Bytes::fromText(fields[2]), .additionalData = fields[1]};
}

std::optional<CoreNetworking::Input> CoreNetworking::readPaymentInput(const Bytes &input, UserDefaults &defaults)
{
    return Input{.msisdn = defaults.string(u"pn"_s), .applicationData = input, .additionalData = u"NA"_s};
}

void CoreNetworking::sendInBackground(const std::shared_ptr<Attempt> &attempt, Send send, const Bytes &input,
                                      ResponseBlock block)
{
    const auto begin = [attempt, send, input, block = std::move(block)] {
        try {
            Surroundings surroundings;
            surroundings.attempt = attempt;
            ((*create(std::move(surroundings))).*send)(input, block);
        } catch (const std::exception &) {
            giveUp(*attempt, send == &CoreNetworking::sendPaymentRequest, Fault::Unsent);
        }
    };
    try {
        Dispatch::global(Dispatch::Priority::High, begin);
    } catch (const std::exception &) {
        giveUp(*attempt, send == &CoreNetworking::sendPaymentRequest, Fault::Unsent);
    }
}

void CoreNetworking::send(const Exchange &exchange, const Bytes &input, ResponseBlock block)
{
    this->*exchange.answered = std::move(block);
    auto built = build(exchange, input);
    if (const auto *fault = std::get_if<Fault>(&built)) {
        fallSilent(exchange, *fault);
        return;
    }
    const auto &request = std::get<Request>(built);
    const auto &attempt = m_surroundings.attempt;
    const auto write = [&request](BytesBuilder &out) {
        JsonObjectWriter json(out);
        for (auto entry = request.members.begin(); entry != request.members.end(); ++entry)
            json.put(entry.key(), entry.value());
        JsonObjectWriter application(json.member(u"ap"_s));
        application.put(u"v"_s, request.vulnerabilities);
        application.put(u"r"_s, request.applicationData);
    };
    const QByteArray envelope = CoreSecurity(*m_surroundings.defaults).encryptRequest(write).toUtf8();
    if (attempt && !attempt->asking(exchange.isPayment, request.members["mi"_L1].toString())) {
        qCWarning(logNetwork, "the payment isn't sent: it can't be written down; see the line above");
        fallSilent(exchange, Fault::Unsent);
        return;
    }
    m_surroundings.post(Deployment::serviceUrl(u"/8/request"_s), "application/json", envelope,
                        {.isWanted = [attempt] { return !attempt || !attempt->isWithdrawn(); },
                         .leave = [attempt, &exchange] { return !attempt || attempt->leave(exchange.isPayment); }},
                        [self = shared_from_this(), &exchange](const UrlResult &result) {
                            try {
                                self->finish(exchange, result);
                            } catch (const std::exception &) {
                                self->fallSilent(exchange, Fault::Unknown);
                            }
                        });
}

void CoreNetworking::fallSilent(const Exchange &exchange, Fault fault) const
{
    if (m_surroundings.attempt)
        giveUp(*m_surroundings.attempt, exchange.isPayment, fault);
}

void CoreNetworking::giveUp(Attempt &attempt, bool isPayment, Fault fault)
{
    attempt.fellSilent(isPayment, fault);
    attempt.landed();
}

std::variant<CoreNetworking::Request, CoreNetworking::Fault> CoreNetworking::build(const Exchange &exchange,
                                                                                   const Bytes &text) const
{
    const auto isWithdrawn = [this] { return m_surroundings.attempt && m_surroundings.attempt->isWithdrawn(); };
    if (isWithdrawn())
        return Fault::Unsent;
    UserDefaults &defaults = *m_surroundings.defaults;
    const auto input = exchange.read(text, defaults);
    if (!input)
        return Fault::Mistake;
    m_surroundings.keychain.setString(input->msisdn, u"msisdn"_s);

    const CoreFunctions &functions = *m_surroundings.functions;
    const QString localDate = functions.localUserDate();
    QString vulnerabilities;
    std::optional<QString> address;
    // The library is hashed while the echo is on its way.
    Dispatch::both([&] { address = functions.ipAddress(); }, [&] { vulnerabilities = functions.vulnerabilities(); });
    if (exchange.movesTrace)
        functions.returnThings();
    if (isWithdrawn() || Dispatch::isShuttingDown())
        return Fault::Unsent;

    const auto mid = identity(u"mid"_s, "call initWithMerchantID before starting a payment");
    const auto uuid = identity(u"uuid"_s, "check that the keychain can be written");
    for (const auto *entry : {&mid, &uuid}) {
        if (const auto *fault = std::get_if<Fault>(entry))
            return *fault;
    }
    const QString &merchant = std::get<QString>(mid);
    const QString &identifier = std::get<QString>(uuid);
    const QString bundle = Merchants::haveServiceIdentifier(merchant) ? u"ir.kel.tobrel"_s : functions.bundleID();
    const QJsonObject members{
        {u"vi"_s, functions.versionString()},
        {u"ar"_s, nullable(input->msisdn) + u';' + nullable(address) + u';'},
        {u"m"_s, exchange.messageType},
        {u"ct"_s, localDate},
        {u"ti"_s, defaults.integer(u"trace"_s).value_or(0)},
        {u"cs"_s, bundle},
        {u"dd"_s, functions.deviceData()},
        {u"ai"_s, QString::number(defaults.integer(u"ard"_s).value_or(0))},
        {u"di"_s, identifier},
        {u"pc"_s, exchange.processingCode},
        {u"ad"_s, QJsonObject{{u"r"_s, input->additionalData}}},
        {u"pn"_s, bundle},
        {u"mi"_s, merchant},
        {u"fp"_s, identifier},
    };
    return Request{members, vulnerabilities, input->applicationData};
}

/// A keychain entry that no request is without. A missing one is a programming error, which `advice` mends; one that
/// can't be read is not.
std::variant<QString, CoreNetworking::Fault> CoreNetworking::identity(const QString &key, const char *advice) const
{
    if (const auto value = m_surroundings.keychain.stringForKey(key))
        return *value;
    Error error;
    m_surroundings.keychain.dataForKey(key, {}, &error);
    if (error.code == SecStatus::ItemNotFound) {
        programmingError(
            u"the request can't be built: keychain entry \"%1\" is missing; %2"_s.arg(key, QLatin1StringView(advice)));
        return Fault::Mistake;
    }
    qCWarning(logNetwork, "the request isn't sent: keychain entry \"%s\" can't be read: %s", qUtf8Printable(key),
              qUtf8Printable(error.localizedDescription));
    return Fault::Unsent;
}

void CoreNetworking::finish(const Exchange &exchange, const UrlResult &result) const
{
    if (const auto *error = std::get_if<TransportError>(&result)) {
        qCWarning(logNetwork, "URLSession Task Failed:%s", qUtf8Printable(error->localizedDescription));
        fallSilent(exchange, error->mayHaveLeft ? Fault::Unknown : Fault::Unsent);
        return;
    }
    const auto &response = std::get<UrlResponse>(result);
    const auto &attempt = m_surroundings.attempt;
    if (response.status != 200) {
        qCWarning(logNetwork, "the service answered HTTP %d to a %s request", response.status, exchange.name);
        const ResponseBlock &failed = this->*exchange.failed;
        if (!failed) {
            fallSilent(exchange, Fault::Unknown);
            return;
        }
        if (attempt)
            attempt->landed();
        failed(false, Outcomes::serverError.description.toString(), Outcomes::serverError.code.toString());
        return;
    }
    const QJsonValue answer = open(response.body);
    // Stored before anybody is called, so that who is called can read it.
    ((*m_surroundings.functions).*exchange.store)(answer);
    const qint32 code = resultCode(answer["rc"_L1]);
    if (attempt) {
        attempt->answered(exchange.isPayment, QString::number(code), answer.isObject());
        attempt->landed();
    }
    const ResponseBlock &answered = this->*exchange.answered;
    if (!answered)
        return;
    if (code == 0)
        answered(true, u""_s, u"0"_s);
    else
        answered(false, textValue(answer["ds"_L1]).value_or(QString()), QString::number(code));
}

/// The answer's JSON object: a string literal whose quotes and escapes are stripped, opened with the latest request's
/// key; undefined, with a log line, where that gives none.
QJsonValue CoreNetworking::open(const QByteArray &body) const
{
    const auto plain = [&]() -> std::optional<Bytes> {
        QString text = QString::fromUtf8(body).remove(u'\\');
        text = text.size() < 2 ? QString() : text.sliced(1, text.size() - 2);
        return text.isEmpty() ? std::nullopt : CoreSecurity(*m_surroundings.defaults).decryptRequest(text);
    }();
    const QJsonDocument document = plain
                                       ? readJson(QByteArray::fromRawData(reinterpret_cast<const char *>(plain->data()),
                                                                          static_cast<qsizetype>(plain->size())))
                                       : QJsonDocument();
    if (document.isObject())
        return document.object();
    qCWarning(logNetwork, "the service's answer can't be opened or holds no object; it counts as code 0");
    return QJsonValue::Undefined;
}

} // namespace kelpay

#include "CoreNetworking.h"

#include "device/CoreFunctions.h"
#include "platform/Deployment.h"
#include "platform/Dispatch.h"
#include "platform/Log.h"
#include "platform/UrlSession.h"
#include "platform/UserDefaults.h"
#include "records/Record.h"
#include "security/CoreSecurity.h"
#include "security/keychain/CoreKeychain.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

#include <algorithm>
#include <array>
#include <cmath>

namespace kelpay {

namespace {

// What an outcome without an answer of the service is reported as.
const QString serverErrorMessage = QStringLiteral("خطا در ارتباط با سرور");
const QString serverErrorCode = QStringLiteral("2525345");

/// Merchants whose requests carry the service's own application identifier.
bool isListedMerchant(const QString &merchant)
{
    static constexpr std::array listed{u"319", u"321", u"322", u"3088", u"334", u"335", u"336"};
    return std::any_of(listed.begin(), listed.end(), [&](const char16_t *id) { return merchant == QStringView(id); });
}

/// The answer's JSON: a string literal whose quotes and escapes are stripped, opened with the latest request's key.
QJsonValue openAnswer(const QByteArray &body)
{
    QString text = QString::fromUtf8(body).remove(QLatin1Char('\\'));
    text = text.size() < 2 ? QString() : text.sliced(1, text.size() - 2);
    const auto plain = text.isEmpty() ? std::nullopt : CoreSecurity().decryptRequest(text);
    const QJsonDocument document =
        plain ? QJsonDocument::fromJson(QByteArray::fromRawData(reinterpret_cast<const char *>(plain->data()),
                                                                static_cast<qsizetype>(plain->size())))
              : QJsonDocument();
    if (!document.isObject()) {
        qCWarning(logNetwork, "the service's answer can't be opened or holds no object; it counts as code 0");
        return QJsonValue::Undefined;
    }
    return document.object();
}

int truncatedTo32Bits(double number)
{
    if (!std::isfinite(number) || std::abs(number) >= 9.2e18)
        return 0;
    return static_cast<int>(static_cast<quint32>(static_cast<qint64>(number)));
}

QString nullable(const std::optional<QString> &text)
{
    return text.value_or(QStringLiteral("(null)"));
}

} // namespace

/// The values in which the two exchanges differ.
struct CoreNetworking::Values
{
    int messageType;
    int processingCode;
    QString msisdn;
    QString applicationData;
    QString additionalData;
    QString localDate;
    QString vulnerabilities;
    std::optional<QString> address;
};

std::shared_ptr<CoreNetworking> CoreNetworking::create()
{
    return std::shared_ptr<CoreNetworking>(new CoreNetworking);
}

void CoreNetworking::sendTokenRequest(const QString &input, ResponseBlock block)
{
    m_tokenResponseBlock = std::move(block);
    const QStringList fields = input.split(QLatin1String("||"));
    if (fields.size() < 3) {
        programmingError(
            QStringLiteral("a token request needs three fields: MSISDN||additional data||payment parameters"));
        return;
    }
    auto &defaults = UserDefaults::standard();
    defaults.setString(QStringLiteral("rsn"), fields[1]);
    defaults.setString(QStringLiteral("pcc"), fields[2].split(QLatin1Char('|')).first());
    defaults.setString(QStringLiteral("pn"), fields[0]);
    CoreKeychain().setString(fields[0], QStringLiteral("msisdn"));

    const CoreFunctions functions;
    Values values{.messageType = 100,
                  .processingCode = 100003,
                  .msisdn = fields[0],
                  .applicationData = fields[2],
                  .additionalData = fields[1],
                  .localDate = functions.localUserDate(),
                  .vulnerabilities = functions.vulnerabilities(),
                  .address = functions.ipAddress()};
    functions.returnThings();
    send(Exchange::Token, values);
}

void CoreNetworking::sendPaymentRequest(const QString &input, ResponseBlock block)
{
    m_paymentResponseBlock = std::move(block);
    const auto msisdn = UserDefaults::standard().string(QStringLiteral("pn"));
    CoreKeychain().setString(msisdn, QStringLiteral("msisdn"));

    const CoreFunctions functions;
    send(Exchange::Payment, {.messageType = 200,
                             .processingCode = 200000,
                             .msisdn = nullable(msisdn),
                             .applicationData = input,
                             .additionalData = QStringLiteral("NA"),
                             .localDate = functions.localUserDate(),
                             .vulnerabilities = functions.vulnerabilities(),
                             .address = functions.ipAddress()});
}

void CoreNetworking::send(Exchange exchange, const Values &values)
{
    if (Dispatch::isShuttingDown())
        return;
    const CoreFunctions functions;
    const auto &defaults = UserDefaults::standard();
    const auto uuid = CoreKeychain().string(QStringLiteral("uuid"));
    const auto merchant = CoreKeychain().string(QStringLiteral("mid"));
    if (!uuid || !merchant) {
        programmingError(QStringLiteral("the request can't be built: keychain entry \"%1\" is missing; %2")
                             .arg(merchant ? QStringLiteral("uuid") : QStringLiteral("mid"),
                                  merchant ? QStringLiteral("check that the keychain can be written")
                                           : QStringLiteral("call initWithMerchantID before starting a payment")));
        return;
    }
    const QString bundle = isListedMerchant(*merchant) ? QStringLiteral("ir.kel.tobrel") : functions.bundleID();

    const QJsonObject request{
        {QStringLiteral("vi"), functions.versionString()},
        {QStringLiteral("ar"), values.msisdn + QLatin1Char(';') + nullable(values.address) + QLatin1Char(';')},
        {QStringLiteral("m"), values.messageType},
        {QStringLiteral("ct"), values.localDate},
        {QStringLiteral("ti"), defaults.integer(QStringLiteral("trace")).value_or(0)},
        {QStringLiteral("cs"), bundle},
        {QStringLiteral("dd"), functions.deviceData()},
        {QStringLiteral("ai"), QString::number(defaults.integer(QStringLiteral("ard")).value_or(0))},
        {QStringLiteral("di"), *uuid},
        {QStringLiteral("ap"),
         QJsonObject{{QStringLiteral("v"), values.vulnerabilities}, {QStringLiteral("r"), values.applicationData}}},
        {QStringLiteral("pc"), values.processingCode},
        {QStringLiteral("ad"), QJsonObject{{QStringLiteral("r"), values.additionalData}}},
        {QStringLiteral("pn"), bundle},
        {QStringLiteral("mi"), *merchant},
        {QStringLiteral("fp"), *uuid},
    };
    UrlSession::post(Deployment::serviceUrl(QStringLiteral("/8/request")), "application/json",
                     CoreSecurity().encryptRequest(request).toUtf8(),
                     [self = shared_from_this(), exchange](const UrlResult &result) {
                         if (const auto *error = std::get_if<TransportError>(&result)) {
                             qCWarning(logNetwork, "URLSession Task Failed:%s",
                                       qUtf8Printable(error->localizedDescription));
                             return;
                         }
                         const auto &response = std::get<UrlResponse>(result);
                         self->finish(exchange, response.status, response.body);
                     });
}

void CoreNetworking::finish(Exchange exchange, int status, const QByteArray &body) const
{
    const bool isToken = exchange == Exchange::Token;
    if (status != 200) {
        qCWarning(logNetwork, "the service answered HTTP %d to a %s request", status, isToken ? "token" : "payment");
        // A payment's failure is not reported here: whether money moved is unknown, so nothing may call it failed.
        if (m_tokenResponseBlock)
            m_tokenResponseBlock(false, serverErrorMessage, serverErrorCode);
        return;
    }
    const QJsonValue answer = openAnswer(body);
    // Stored before anybody is called, so that who is called can read it.
    if (isToken)
        CoreFunctions().parseTokenBody(answer);
    else
        CoreFunctions().parsePaymentBody(answer);

    const ResponseBlock &block = isToken ? m_tokenResponseBlock : m_paymentResponseBlock;
    if (!block)
        return;
    const int code = truncatedTo32Bits(doubleValue(answer.toObject().value(QLatin1StringView("rc"))));
    if (code == 0)
        block(true, QStringLiteral(""), QStringLiteral("0"));
    else
        block(false, textValue(answer.toObject().value(QLatin1StringView("ds"))).value_or(QString()),
              QString::number(code));
}

} // namespace kelpay

#include "RequestCheck.h"

#include <QDate>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QStringList>

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace kelpay::sandbox {

using namespace Qt::StringLiterals;

namespace {

constexpr std::array keys = {"vi"_L1, "ar"_L1, "m"_L1,  "ct"_L1, "ti"_L1, "cs"_L1, "dd"_L1, "ai"_L1,
                             "di"_L1, "ap"_L1, "pc"_L1, "ad"_L1, "pn"_L1, "mi"_L1, "fp"_L1};

/// Merchants whose requests carry one application identifier, whatever the host's.
constexpr std::array sharedIdentifierMerchants = {"319"_L1, "321"_L1, "322"_L1, "3088"_L1,
                                                  "334"_L1, "335"_L1, "336"_L1};
constexpr auto sharedIdentifier = "ir.kel.tobrel"_L1;

QRegularExpression whole(const QString &pattern)
{
    return QRegularExpression(QRegularExpression::anchoredPattern(pattern),
                              QRegularExpression::UseUnicodePropertiesOption);
}

bool isAddress(const QString &text)
{
    std::array<unsigned char, sizeof(in6_addr)> address{};
    const QByteArray bytes = text.toLatin1();
    return inet_pton(AF_INET, bytes.constData(), address.data()) == 1 ||
           inet_pton(AF_INET6, bytes.constData(), address.data()) == 1;
}

/// "<msisdn>;<address>;". The address is "(null)" when it could not be had, and untrimmed otherwise.
bool isCaller(const QString &text)
{
    const QStringList pieces = text.split(u';');
    return pieces.size() == 3 && pieces[2].isEmpty() && (pieces[1] == "(null)"_L1 || isAddress(pieces[1].trimmed()));
}

/// "yyyy-MM-dd hh:mm:ss" on the 12-hour clock, in the digits and the calendar of the device.
bool isTwelveHourTime(const QString &text)
{
    static const QRegularExpression form = whole(u"\\d{4}-\\d{2}-\\d{2} \\d{2}:\\d{2}:\\d{2}"_s);
    return form.match(text).hasMatch() && [&text] {
        const auto number = [&text](qsizetype at) { return text[at].digitValue() * 10 + text[at + 1].digitValue(); };
        const auto between = [](int value, int low, int high) { return low <= value && value <= high; };
        return between(number(5), 1, 12) && between(number(8), 1, 31) && between(number(11), 1, 12) &&
               between(number(14), 0, 59) && between(number(17), 0, 59);
    }();
}

/// An object with exactly these text members.
bool isTextObject(const QJsonValue &value, const QStringList &members)
{
    const QJsonObject object = value.toObject();
    return object.size() == members.size() && std::all_of(members.begin(), members.end(), [&](const QString &name) {
               return object.value(name).isString();
           });
}

struct TextRule
{
    QLatin1String key;
    QRegularExpression form;
};

const std::array<TextRule, 6> &textRules()
{
    static const std::array rules = {
        TextRule{"vi"_L1, whole(u"[^.;]*;[^.;]+"_s)},
        TextRule{"dd"_L1, whole(u"APPL(\\|[^|]*){4,}"_s)},
        TextRule{"ai"_L1, whole(u"-?[0-9]+"_s)},
        TextRule{"di"_L1, whole(u"[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}"_s)},
        TextRule{"cs"_L1, whole(u".*"_s)},
        TextRule{"mi"_L1, whole(u".+"_s)},
    };
    return rules;
}

std::optional<QString> keyViolation(const QJsonObject &request)
{
    for (const QLatin1String key : keys) {
        if (!request.contains(key))
            return u"key %1 is missing"_s.arg(key);
    }
    for (const QString &key : request.keys()) {
        if (std::find(keys.begin(), keys.end(), key) == keys.end())
            return u"a key that does not belong here"_s;
    }
    return std::nullopt;
}

std::optional<QString> numberViolation(const QJsonObject &request)
{
    for (const QLatin1String key : {"m"_L1, "pc"_L1, "ti"_L1}) {
        const QJsonValue value = request.value(key);
        if (!value.isDouble() || value.toDouble() != std::trunc(value.toDouble()))
            return u"%1 is not a whole number"_s.arg(key);
    }
    const int mode = request.value("m"_L1).toInt();
    const int code = request.value("pc"_L1).toInt();
    if (!(mode == 100 && code == 100003) && !(mode == 200 && code == 200000))
        return u"m and pc are not a pair"_s;
    if (request.value("ti"_L1).toInt() < 1)
        return u"ti is not a trace number"_s;
    return std::nullopt;
}

std::optional<QString> textViolation(const QJsonObject &request)
{
    for (const TextRule &rule : textRules()) {
        const QJsonValue value = request.value(rule.key);
        if (!value.isString() || !rule.form.match(value.toString()).hasMatch())
            return u"%1 has not its form"_s.arg(rule.key);
    }
    if (!isCaller(request.value("ar"_L1).toString()))
        return u"ar is not MSISDN;address;"_s;
    if (!isTwelveHourTime(request.value("ct"_L1).toString()))
        return u"ct is not a local time on the 12-hour clock"_s;
    if (request.value("pn"_L1) != request.value("cs"_L1))
        return u"pn differs from cs"_s;
    if (request.value("fp"_L1) != request.value("di"_L1))
        return u"fp differs from di"_s;
    const QString merchant = request.value("mi"_L1).toString();
    const bool shares = std::find(sharedIdentifierMerchants.begin(), sharedIdentifierMerchants.end(), merchant) !=
                        sharedIdentifierMerchants.end();
    if (shares && request.value("cs"_L1) != sharedIdentifier)
        return u"cs is not what this merchant sends"_s;
    return std::nullopt;
}

} // namespace

RequestKind kindOf(const QJsonObject &request)
{
    return request.value("m"_L1) == 200 ? RequestKind::Payment : RequestKind::Token;
}

std::optional<QJsonObject> parseRequest(const QByteArray &json, QString &reason)
{
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject()) {
        reason = u"the plain text is no JSON object"_s;
        return std::nullopt;
    }
    bool inText = false;
    for (qsizetype i = 0; i < json.size(); ++i) {
        if (inText && json[i] == '\\')
            ++i;
        else if (json[i] == '"')
            inText = !inText;
        else if (!inText && (json[i] == ' ' || json[i] == '\n' || json[i] == '\r' || json[i] == '\t')) {
            reason = u"the JSON text is not compact"_s;
            return std::nullopt;
        }
    }
    return document.object();
}

std::optional<QString> requestViolation(const QJsonObject &request)
{
    for (const auto check : {keyViolation, numberViolation, textViolation}) {
        if (auto violation = check(request))
            return violation;
    }
    if (!isTextObject(request.value("ap"_L1), {u"v"_s, u"r"_s}))
        return u"ap is not {v, r}"_s;
    if (!isTextObject(request.value("ad"_L1), {u"r"_s}))
        return u"ad is not {r}"_s;
    if (kindOf(request) == RequestKind::Payment && request.value("ad"_L1).toObject().value("r"_L1) != "NA"_L1)
        return u"ad of a payment is not NA"_s;
    return std::nullopt;
}

QString msisdnOf(const QJsonObject &request)
{
    return request.value("ar"_L1).toString().section(u';', 0, 0);
}

} // namespace kelpay::sandbox

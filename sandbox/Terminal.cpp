#include "Terminal.h"

#include "Scenarios.h"

#include <QLocale>
#include <QStringList>

namespace kelpay::sandbox {

using namespace Qt::StringLiterals;

namespace {

constexpr auto red = "31"_L1;
constexpr auto green = "32"_L1;
constexpr auto yellow = "33"_L1;

QString printable(QString text)
{
    for (QChar &character : text) {
        if (!character.isPrint())
            character = u'?';
    }
    return text;
}

/// What came of it, and in which colour.
std::pair<QString, QLatin1String> resultOf(const QJsonObject &entry)
{
    if (entry.contains("tls"_L1))
        return {entry.value("tls"_L1).toString(), red};
    if (entry.contains("violation"_L1))
        return {u"rejected: "_s + entry.value("violation"_L1).toString(), red};
    if (!entry.contains("scenario"_L1))
        return {u"HTTP %1"_s.arg(entry.value("status"_L1).toInt()), QLatin1String()};
    const int number = entry.value("scenario"_L1).toInt();
    const Side side = entry.value("kind"_L1) == "token"_L1 ? Side::Token : Side::Payment;
    const QString code = entry.value("rc"_L1).toVariant().toString();
    const bool isApproved = code == "0"_L1;
    const QString effect = number == 0 ? QString() : u"  "_s + scenarioNumbered(number, side).effect;
    return {u"rc "_s + code + effect, !isApproved ? red : number == 0 ? green : yellow};
}

} // namespace

QString readableLine(const QJsonObject &entry, bool isColoured)
{
    const QJsonObject request = entry.value("request"_L1).toObject();
    const QString kind = entry.value("kind"_L1).toString();
    QStringList parts{entry.value("time"_L1).toString().mid(11, 8), kind.leftJustified(8)};
    const QString merchant = request.value("mi"_L1).toString();
    if (merchant.isEmpty())
        parts += entry.value("path"_L1).toString();
    else
        parts += u"merchant "_s + merchant;
    if (kind == "payment"_L1)
        parts += request.value("ap"_L1).toObject().value("r"_L1).toString().section(u'|', 2, 2);
    if (entry.contains("amount"_L1))
        parts += QLocale(QLocale::English).toString(entry.value("amount"_L1).toInteger()) + u" rials"_s;
    auto [result, colour] = resultOf(entry);
    if (entry.contains("deviation"_L1))
        result += u"  DEVIATES: "_s + entry.value("deviation"_L1).toString();
    result = printable(result);
    if (isColoured && !colour.isEmpty())
        result = u"\x1b[%1m%2\x1b[0m"_s.arg(colour, result);
    return printable(parts.join(u"  "_s)) + u"  "_s + result;
}

QString exportLines(const QString &host, const QString &url, const QString &identityFolder)
{
    const QString folder = QString(identityFolder).replace(u'\'', u"'\\''"_s);
    return u"export KELPAY_SERVICE_HOST='%1'\nexport KELPAY_IP_ECHO='%2'\nexport KELPAY_RESOURCES='%3'\n"_s.arg(
        host, url, folder);
}

} // namespace kelpay::sandbox

#include "Inspector.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QUuid>

#include <httplib.h>

#include <algorithm>

// The macro wants to stand outside of every namespace.
static void initResources()
{
    Q_INIT_RESOURCE(kelpay_sandbox_inspector);
}

namespace kelpay::sandbox {

using namespace Qt::StringLiterals;

namespace {

constexpr std::size_t kept = 200;
constexpr int ledgerRows = 50;
constexpr auto tokenHeader = "X-Inspector-Token";

QByteArray fileOf(const QString &name)
{
    QFile file(u":/sandbox/"_s + name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void send(httplib::Response &response, const QByteArray &content, const char *type)
{
    response.set_header("Content-Security-Policy",
                        "default-src 'none'; script-src 'self'; style-src 'self'; connect-src 'self'; base-uri 'none'; "
                        "form-action 'none'; frame-ancestors 'none'");
    response.set_header("X-Content-Type-Options", "nosniff");
    response.set_header("Cross-Origin-Resource-Policy", "same-origin");
    response.set_header("Referrer-Policy", "no-referrer");
    response.set_header("Cache-Control", "no-store");
    response.set_content(content.constData(), static_cast<std::size_t>(content.size()), type);
}

/// Not another site's page, be it under a name that leads here. `isPage` is for what a person may have followed a link
/// to.
bool isOwn(const httplib::Request &request, const QString &scheme, const QString &host, int port, bool isPage)
{
    const QString asked = QString::fromStdString(request.get_header_value("Host"));
    const QString name = host.contains(u':') ? u'[' + host + u']' : host;
    const QString suffix = u":%1"_s.arg(port);
    if (asked != name + suffix && asked != u"localhost"_s + suffix)
        return false;
    const std::string site = request.get_header_value("Sec-Fetch-Site");
    const bool isSameSite = site.empty() || site == "same-origin" || site == "none";
    const bool isSameOrigin = !request.has_header("Origin") ||
                              QString::fromStdString(request.get_header_value("Origin")) == scheme + u"://"_s + asked;
    return isPage || (isSameSite && isSameOrigin);
}

QString textOf(Side side)
{
    return side == Side::Token ? u"token"_s : side == Side::Payment ? u"payment"_s : u"both"_s;
}

QByteArray reference()
{
    QJsonArray magic;
    for (const Scenario &scenario : scenarios())
        magic.append(QJsonObject{
            {"number"_L1, scenario.number},
            {"name"_L1, scenarioName(scenario.number)},
            {"side"_L1, textOf(scenario.side)},
            {"mobile"_L1, scenario.side == Side::Payment ? QString() : mobileNumberFor(scenario.number)},
            {"card"_L1, scenario.side == Side::Token ? QString() : cardNumberFor(scenario.number, u"603799"_s)},
            {"effect"_L1, scenario.effect}});
    QJsonArray cards;
    for (const SavedCard &card : savedCards())
        cards.append(
            QJsonObject{{"identifier"_L1, card.identifier}, {"shown"_L1, card.masked}, {"scenario"_L1, card.scenario}});
    QJsonArray refused;
    for (const Refusal &refusal : refusals())
        refused.append(QJsonObject{{"rc"_L1, refusal.resultCode}, {"reason"_L1, refusal.reason}});
    return QJsonDocument(QJsonObject{{"magic"_L1, magic}, {"cards"_L1, cards}, {"refusals"_L1, refused}})
        .toJson(QJsonDocument::Compact);
}

} // namespace

Inspector::Inspector(Ledger &ledger, Director &director)
    : m_ledger(ledger), m_director(director), m_token(QUuid::createUuid().toString(QUuid::Id128))
{
    initResources();
}

void Inspector::note(const QJsonObject &entry, const QJsonObject &answer)
{
    const std::lock_guard guard(m_mutex);
    QJsonObject exchange{{"number"_L1, ++m_count}, {"entry"_L1, entry}};
    if (!answer.isEmpty())
        exchange.insert("answer"_L1, answer);
    m_latest.push_back(exchange);
    if (m_latest.size() > kept)
        m_latest.pop_front();
}

void Inspector::addRoutes(httplib::Server &server, const QString &scheme, const QString &host, int port)
{
    using httplib::Request;
    using httplib::Response;
    const auto guarded = [=](bool isPage, auto serve) {
        return [=](const Request &request, Response &response) {
            if (isOwn(request, scheme, host, port, isPage))
                return serve(request, response);
            response.status = 403;
            send(response, "the inspector answers its own page only\n", "text/plain; charset=utf-8");
        };
    };
    server.Get("/inspector", guarded(true, [this](const Request &, Response &response) {
                   send(response, page(), "text/html; charset=utf-8");
               }));
    server.Get("/inspector.css", guarded(false, [](const Request &, Response &response) {
                   send(response, fileOf(u"inspector.css"_s), "text/css; charset=utf-8");
               }));
    server.Get("/inspector.js", guarded(false, [](const Request &, Response &response) {
                   send(response, fileOf(u"inspector.js"_s), "text/javascript; charset=utf-8");
               }));
    server.Get("/inspector/reference", guarded(false, [](const Request &, Response &response) {
                   send(response, reference(), "application/json");
               }));
    server.Get("/inspector/state", guarded(false, [this](const Request &request, Response &response) {
                   const int after = QByteArray::fromStdString(request.get_param_value("after")).toInt();
                   send(response, state(after), "application/json");
               }));
    server.Post("/inspector/next", guarded(false, [this](const Request &request, Response &response) {
                    const bool isAllowed = request.get_header_value(tokenHeader) == m_token.toStdString();
                    const QString problem =
                        isAllowed ? setNext(QByteArray::fromStdString(request.body)) : u"the page's token is missing"_s;
                    response.status = !isAllowed ? 403 : problem.isEmpty() ? 200 : 400;
                    send(response, problem.isEmpty() ? "set\n" : problem.toUtf8() + '\n', "text/plain; charset=utf-8");
                }));
}

QByteArray Inspector::page() const
{
    return fileOf(u"inspector.html"_s).replace("%TOKEN%", m_token.toLatin1());
}

QByteArray Inspector::state(int after)
{
    const auto next = m_director.next();
    QJsonObject state{{"next"_L1, QJsonValue::Null}, {"ledger"_L1, m_ledger.latest(ledgerRows)}};
    if (next)
        state.insert("next"_L1,
                     QJsonObject{{"side"_L1, textOf(next->side)}, {"name"_L1, scenarioName(next->scenario->number)}});
    const std::lock_guard guard(m_mutex);
    QJsonArray exchanges;
    for (const QJsonObject &exchange : m_latest) {
        if (exchange.value("number"_L1).toInt() > after)
            exchanges.append(exchange);
    }
    state.insert("exchanges"_L1, exchanges);
    return QJsonDocument(state).toJson(QJsonDocument::Compact);
}

QString Inspector::setNext(const QByteArray &body)
{
    const QString text = QString::fromUtf8(body.trimmed());
    QString problem;
    const auto rule = text.isEmpty() ? std::nullopt : Rule::parse(text, problem);
    if (problem.isEmpty())
        m_director.setNext(rule);
    return problem;
}

} // namespace kelpay::sandbox

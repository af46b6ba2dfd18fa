#include "Service.h"

#include "Catalog.h"
#include "Envelope.h"
#include "Masking.h"
#include "RequestCheck.h"

#include <QJsonDocument>

#include <httplib.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <limits>

namespace kelpay::sandbox {

using namespace Qt::StringLiterals;

namespace {

constexpr int workers = 48;
constexpr std::size_t longestBody = std::size_t{64} * 1024;
constexpr int noAlert = 0;
constexpr int readSeconds = 10;
/// How long a kept connection may say nothing. It holds a worker meanwhile.
constexpr int idleSeconds = 2;

/// The connection that this worker thread serves: the HTTP library does not hand it out, and the faults need it.
thread_local SSL *currentConnection = nullptr;

/// The alert that its client sent in the handshake.
thread_local int currentAlert = noAlert;

/// Only the reuse that skips a finished server's waiting time: two services on one address would share its connections.
void setSocketOptions(socket_t socket)
{
    const int on = 1;
    ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
}

void answerText(httplib::Response &response, int status, const QString &text)
{
    response.status = status;
    response.set_content(text.toStdString() + '\n', "text/plain; charset=utf-8");
}

QString urlOf(const QString &host)
{
    const QString name = host.contains(u':') ? u'[' + host + u']' : host;
    return u"https://%1:%2/"_s.arg(name).arg(Service::port);
}

QJsonObject toJson(const EnvelopeReport &report)
{
    return {{"ok"_L1, report.ok},
            {"reason"_L1, report.reason},
            {"lines"_L1, report.lines},
            {"longestLine"_L1, report.longestLine}};
}

} // namespace

Service::Service(const Identity &identity, Ledger &ledger, Journal &journal, const QString &host, int hangSeconds)
    : m_identity(identity)
    , m_ledger(ledger)
    , m_journal(journal)
    , m_host(host)
    , m_hangSeconds(hangSeconds)
    , m_cashier(ledger, urlOf(host) + u"verify/"_s)
    , m_inspector(ledger, m_director)
{
    m_server = std::make_unique<httplib::SSLServer>([this](SSL_CTX &context) {
        SSL_CTX_set_app_data(&context, this);
        SSL_CTX_set_min_proto_version(&context, TLS1_2_VERSION);
        SSL_CTX_set_info_callback(&context, watch);
        return SSL_CTX_use_certificate(&context, m_identity.tlsCertificate()) == 1 &&
               SSL_CTX_use_PrivateKey(&context, m_identity.tlsKey()) == 1;
    });
    m_server->new_task_queue = [] { return new httplib::ThreadPool(workers); };
    m_server->set_keep_alive_max_count(std::numeric_limits<std::size_t>::max());
    m_server->set_keep_alive_timeout(idleSeconds);
    // The head and the body of an answer are two writes: without it the second waits for the client's acknowledgement.
    m_server->set_tcp_nodelay(true);
    m_server->set_read_timeout(readSeconds);
    m_server->set_payload_max_length(longestBody);
    m_server->set_socket_options(setSocketOptions);
    addRoutes();
}

Service::~Service()
{
    stop();
}

QString Service::url() const
{
    return urlOf(m_host);
}

bool Service::start(QString &problem)
{
    if (!m_server->is_valid()) {
        problem = u"the service's certificate can't be used: make the identity anew"_s;
        return false;
    }
    errno = 0;
    if (!m_server->bind_to_port(m_host.toStdString(), port)) {
        problem =
            errno == EADDRINUSE
                ? u"port %1 of %2 is taken: stop what listens there (ss -ltnp shows it), or give another loopback "
                  "address with --host, 127.0.0.2 for one"_s.arg(port)
                      .arg(m_host)
                : u"can't listen on port %1 of %2: %3"_s.arg(port).arg(m_host,
                                                                       QString::fromLocal8Bit(std::strerror(errno)));
        return false;
    }
    m_thread = std::thread([this] { m_server->listen_after_bind(); });
    while (!m_server->is_running())
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return true;
}

bool Service::startInspector(int inspectorPort, QString &problem)
{
    m_plainServer = std::make_unique<httplib::Server>();
    m_plainServer->set_socket_options(setSocketOptions);
    m_plainServer->set_tcp_nodelay(true);
    m_plainServer->set_payload_max_length(longestBody);
    m_inspector.addRoutes(*m_plainServer, u"http"_s, m_host, inspectorPort);
    if (!m_plainServer->bind_to_port(m_host.toStdString(), inspectorPort)) {
        problem = u"the inspector can't listen on port %1 of %2: give another with --inspector"_s.arg(inspectorPort)
                      .arg(m_host);
        return false;
    }
    m_plainThread = std::thread([this] { m_plainServer->listen_after_bind(); });
    while (!m_plainServer->is_running())
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return true;
}

void Service::stop()
{
    {
        const std::lock_guard guard(m_mutex);
        m_isStopping = true;
    }
    m_stopped.notify_all();
    if (m_plainThread.joinable()) {
        m_plainServer->stop();
        m_plainThread.join();
    }
    if (!m_thread.joinable())
        return;
    m_server->stop();
    m_thread.join();
}

void Service::wait(int seconds)
{
    std::unique_lock lock(m_mutex);
    m_stopped.wait_for(lock, std::chrono::seconds(seconds), [this] { return m_isStopping; });
}

void Service::watch(const SSL *connection, int where, int result)
{
    if (where & SSL_CB_HANDSHAKE_START) {
        currentConnection = const_cast<SSL *>(connection);
        currentAlert = noAlert;
    } else if (where == SSL_CB_READ_ALERT) {
        currentAlert = result;
    } else if (where == SSL_CB_ACCEPT_EXIT && result <= 0 && SSL_get_error(connection, result) == SSL_ERROR_SSL) {
        auto *service = static_cast<Service *>(SSL_CTX_get_app_data(SSL_get_SSL_CTX(connection)));
        service->noteFailedHandshake(currentAlert);
    }
}

void Service::noteFailedHandshake(int alert)
{
    const unsigned long error = ERR_peek_last_error();
    // Somebody only looked whether the port is open.
    if (alert == noAlert && ERR_GET_REASON(error) == SSL_R_UNEXPECTED_EOF_WHILE_READING)
        return;
    QString problem;
    if (alert == noAlert) {
        const char *reason = ERR_reason_error_string(error);
        problem = u"no TLS handshake: %1"_s.arg(QString::fromLatin1(reason ? reason : "unknown reason"));
    } else {
        problem = u"the client refused the service's certificate: %1"_s.arg(
            QString::fromLatin1(SSL_alert_desc_string_long(alert)));
    }
    note({{"kind"_L1, u"tls"_s}, {"status"_L1, 0}, {"tls"_L1, problem}});
}

void Service::note(const QJsonObject &entry, const QJsonObject &answer)
{
    m_inspector.note(m_journal.add(entry, answer), answer);
}

void Service::addRoutes()
{
    m_inspector.addRoutes(*m_server, u"https"_s, m_host, port);
    using httplib::Request;
    using httplib::Response;
    m_server->Post("/8/request", [this](const Request &request, Response &response) { exchange(request, response); });
    m_server->Get("/3/Internet/get",
                  [this](const Request &request, Response &response) { list(request, response, internetList()); });
    m_server->Get("/3/Charge/get",
                  [this](const Request &request, Response &response) { list(request, response, chargeList()); });
    m_server->Get("/", [this](const Request &request, Response &response) {
        journalPlain(request, u"ip"_s, 200);
        response.set_content(request.remote_addr, "text/plain");
    });
    m_server->Get("/verify/([0-9a-f]+)",
                  [this](const Request &request, Response &response) { verify(request, response); });
    // Nobody should come here: redirects of an exchange are not to be followed.
    const auto redirected = [this](const Request &request, Response &response) {
        journalPlain(request, u"redirected"_s, 410);
        answerText(response, 410, u"a redirect was followed"_s);
    };
    m_server->Get("/redirected", redirected);
    m_server->Post("/redirected", redirected);
    m_server->set_error_handler([this](const Request &request, Response &response) {
        if (response.body.empty() && response.status != 500 && request.path.rfind("/verify/", 0) != 0)
            journalPlain(request, u"other"_s, response.status);
    });
}

void Service::list(const httplib::Request &request, httplib::Response &response, const QByteArray &content)
{
    journalPlain(request, u"list"_s, 200);
    response.set_content(content.constData(), static_cast<std::size_t>(content.size()), "application/json");
}

void Service::verify(const httplib::Request &request, httplib::Response &response)
{
    const auto purchase = m_ledger.purchaseForPage(QString::fromStdString(request.matches[1].str()));
    const QByteArray page = purchase ? verificationPage(*purchase) : unknownMerchantPage();
    response.status = purchase ? 200 : 404;
    journalPlain(request, u"verify"_s, response.status);
    response.set_content(page.constData(), static_cast<std::size_t>(page.size()), "text/html; charset=utf-8");
}

void Service::journalPlain(const httplib::Request &request, const QString &kind, int status)
{
    note({{"path"_L1, QString::fromStdString(request.path)},
          {"method"_L1, QString::fromStdString(request.method)},
          {"kind"_L1, kind},
          {"status"_L1, status}});
}

void Service::exchange(const httplib::Request &request, httplib::Response &response)
{
    QJsonObject entry{{"path"_L1, QString::fromStdString(request.path)}, {"kind"_L1, u"unreadable"_s}};
    const auto reject = [&](const QString &reason) {
        entry.insert("status"_L1, 400);
        entry.insert("violation"_L1, reason);
        note(entry);
        answerText(response, 400, reason);
    };
    if (request.get_header_value("Content-Type") != "application/json")
        return reject(u"the content type is not application/json"_s);

    EnvelopeReport report;
    const auto opened = openEnvelope(QByteArray::fromStdString(request.body), m_identity.envelopeKey(), report);
    entry.insert("envelope"_L1, toJson(report));
    if (!opened)
        return reject(report.reason);
    QString reason;
    const auto sent = parseRequest(opened->json, reason);
    if (!sent)
        return reject(reason);
    entry.insert("kind"_L1, kindOf(*sent) == RequestKind::Token ? u"token"_s : u"payment"_s);
    entry.insert("request"_L1, maskRequest(*sent));
    if (const QString print = fingerprint(*sent, m_identity.journalKey()); !print.isEmpty())
        entry.insert("fingerprint"_L1, print);
    if (const auto violation = requestViolation(*sent))
        return reject(*violation);

    const Direction direction = m_director.direct(kindOf(*sent), entry.value("request"_L1).toObject());
    if (!direction.deviation.isEmpty())
        entry.insert("deviation"_L1, direction.deviation);
    const Outcome outcome = m_cashier.serve(*sent, direction);
    entry.insert("token"_L1, outcome.tokenName);
    entry.insert("posts"_L1, outcome.posts);
    if (outcome.amount > 0)
        entry.insert("amount"_L1, static_cast<qint64>(outcome.amount));
    if (outcome.violation)
        return reject(*outcome.violation);
    entry.insert("scenario"_L1, outcome.scenario->number);
    entry.insert("rc"_L1, outcome.answer.value("rc"_L1));
    entry.insert("status"_L1, statusFor(outcome.scenario->fault));
    note(entry, maskAnswer(outcome.answer));

    const Wire wire{currentConnection, [this](int seconds) { wait(seconds); }, m_hangSeconds};
    answer(response, QJsonDocument(outcome.answer).toJson(QJsonDocument::Compact), opened->key, outcome.scenario->fault,
           wire);
}

} // namespace kelpay::sandbox

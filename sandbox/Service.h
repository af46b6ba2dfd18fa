#pragma once

#include "Cashier.h"
#include "Director.h"
#include "Identity.h"
#include "Inspector.h"
#include "Journal.h"
#include "WireFaults.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

namespace httplib {
class SSLServer;
class Server;
struct Request;
} // namespace httplib

namespace kelpay::sandbox {

/// The HTTPS server: opens envelopes, asks the cashier, seals answers, and spoils them where the scenario says so.
/// Serves on threads of its own, many connections at once; a hanging one stands in nobody's way.
class Service
{
public:
    static constexpr int port = 1443;

    /// `ledger` and `journal` have to outlive the service. `host` is a loopback address; `hangSeconds` is how long a
    /// connection without an answer is held.
    Service(const Identity &identity, Ledger &ledger, Journal &journal, const QString &host, int hangSeconds);
    ~Service();

    /// Listens and serves until `stop`. False where the address can't be had; `problem` then says why and what to do.
    bool start(QString &problem);
    /// Serves the inspector without TLS as well, on this port of the same address; to be called once.
    bool startInspector(int inspectorPort, QString &problem);
    void stop();

    Director &director() { return m_director; }
    QString url() const;

private:
    static void watch(const SSL *connection, int where, int result);
    void noteFailedHandshake(int alert);
    void note(const QJsonObject &entry, const QJsonObject &answer = {});
    void addRoutes();
    void exchange(const httplib::Request &request, httplib::Response &response);
    void list(const httplib::Request &request, httplib::Response &response, const QByteArray &content);
    void verify(const httplib::Request &request, httplib::Response &response);
    void journalPlain(const httplib::Request &request, const QString &kind, int status);
    void wait(int seconds);

    Identity m_identity;
    Ledger &m_ledger;
    Journal &m_journal;
    QString m_host;
    int m_hangSeconds;
    Cashier m_cashier;
    Director m_director;
    Inspector m_inspector;
    std::unique_ptr<httplib::SSLServer> m_server;
    std::thread m_thread;
    std::unique_ptr<httplib::Server> m_plainServer;
    std::thread m_plainThread;
    std::mutex m_mutex;
    std::condition_variable m_stopped;
    bool m_isStopping = false;
};

} // namespace kelpay::sandbox

#pragma once

#include "Cashier.h"
#include "Identity.h"
#include "Journal.h"
#include "WireFaults.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

namespace httplib {
class SSLServer;
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
    void stop();

    QString url() const;

private:
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
    std::unique_ptr<httplib::SSLServer> m_server;
    std::thread m_thread;
    std::mutex m_mutex;
    std::condition_variable m_stopped;
    bool m_isStopping = false;
};

} // namespace kelpay::sandbox

#pragma once

#include "Director.h"
#include "Ledger.h"

#include <QJsonObject>
#include <QString>

#include <deque>
#include <mutex>
#include <utility>

namespace httplib {
class Server;
struct Request;
struct Response;
} // namespace httplib

namespace kelpay::sandbox {

/// The page /inspector: the latest exchanges, opened, the ledger, the magic values, and a switch for the next answer.
/// It answers its own page only: the Host has to be this server's, what other sites ask for is refused, and the switch
/// takes a token that stands in the page. Any thread.
class Inspector
{
public:
    Inspector(Ledger &ledger, Director &director);

    /// `entry` and `answer` are masked already.
    void note(const QJsonObject &entry, const QJsonObject &answer);
    void addRoutes(httplib::Server &server, const QString &scheme, const QString &host, int port);

private:
    QByteArray page() const;
    QByteArray state(int after);
    /// "" for a switch that was set, otherwise why not.
    QString setNext(const QByteArray &body);

    Ledger &m_ledger;
    Director &m_director;
    QString m_token;
    std::mutex m_mutex;
    int m_count = 0;
    std::deque<QJsonObject> m_latest;
};

} // namespace kelpay::sandbox

#pragma once

#include "Outcomes.h"

#include <KelPay/PaymentEvent.h>

#include <QPointer>
#include <QString>

#include <functional>
#include <mutex>
#include <utility>
#include <vector>

namespace kelpay {

/// What a host gave its KelPayCore. Everybody below the entry point reads it at the moment of use and keeps no copy.
/// Safe from any thread.
class HostProfile
{
public:
    /// (success, code, description, reference, merchantReference)
    using StatusBlock = std::function<void(bool, const QString &, const QString &, const QString &, const QString &)>;
    using Block = std::function<void()>;
    using Observer = std::function<void(const PaymentEvent &)>;

    /// The profile of the shared KelPayCore; the screens report to its status block.
    static HostProfile &shared();

    bool ziaprod() const;
    void setZiaprod(bool ziaprod);
    QString bid() const;
    void setBid(const QString &bid);
    QString log() const;
    void setLog(const QString &log);
    StatusBlock paymentStatusBlock() const;
    void setPaymentStatusBlock(StatusBlock block);
    Block responseBlock() const;
    void setResponseBlock(Block block);

    /// The host's own observer.
    void setObserver(Observer observer);
    /// One more, as long as `context` lives. Main queue.
    void addObserver(QObject *context, Observer observer);
    /// Calls the observers, from the main queue. Throws nothing: where memory is short they miss it.
    void tell(const PaymentEvent &event);
    /// The status block as it is now, to be called later. The call gives false where there is none, or nobody may be
    /// called any more.
    using Report = std::function<bool(bool success, const QString &code, const QString &description,
                                      const QString &reference, const QString &merchantReference)>;
    Report reporter() const;

    /// While closed, no block and no observer of any profile is called: the application is about to quit. Waits for
    /// calls that run on other threads, two seconds at most. Main queue.
    static void setClosed(bool isClosed);

private:
    void tellPending();

    mutable std::mutex m_mutex;
    bool m_ziaprod = false;
    QString m_bid;
    QString m_log;
    StatusBlock m_paymentStatusBlock;
    Block m_responseBlock;
    Observer m_observer;
    std::vector<std::pair<QPointer<QObject>, Observer>> m_observers;
    std::vector<PaymentEvent> m_events; // to be told from the main queue
};

} // namespace kelpay

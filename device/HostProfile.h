#pragma once

#include "Outcomes.h"

#include <QString>

#include <functional>
#include <mutex>

namespace kelpay {

/// What a host gave its KelPayCore. Everybody below the entry point reads it at the moment of use and keeps no copy.
/// Safe from any thread.
class HostProfile
{
public:
    /// (success, code, description, reference, merchantReference)
    using StatusBlock = std::function<void(bool, const QString &, const QString &, const QString &, const QString &)>;
    using Block = std::function<void()>;

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

    /// Reports a failure of the SDK's own.
    void reportStatus(const Outcome &failure) const;
    /// Calls the status block on this thread, outside the lock; an empty one is skipped.
    void reportStatus(bool success, const QString &code, const QString &description, const QString &reference = {},
                      const QString &merchantReference = {}) const;

private:
    mutable std::mutex m_mutex;
    bool m_ziaprod = false;
    QString m_bid;
    QString m_log;
    StatusBlock m_paymentStatusBlock;
    Block m_responseBlock;
};

} // namespace kelpay

#pragma once

#include "platform/SqliteStore.h"

#include <KelPay/PaymentEvent.h>

#include <atomic>
#include <vector>

namespace kelpay {

/// What every payment has come to, in a file of its own that survives a power loss. Each step is written before it is
/// taken, but for the last, the report, which is written when the host was told: so a payment may be listed that the
/// host knows, and none is missing. No card data, no token. Any thread; a step that can't be written is logged.
class AttemptLedger
{
public:
    /// The application's, in the state folder.
    static AttemptLedger &shared();

    /// In the file at `path`; nothing is kept for an empty path.
    explicit AttemptLedger(const QString &path);

    void begun(const UnsettledAttempt &attempt);
    /// From now on the payment's request may leave. The attempt may be new. False where it could not be written.
    bool aboutToSend(const UnsettledAttempt &attempt);
    void answered(const QString &identifier, const QString &code);
    /// The host was told `code`. With `isSettled` that is the payment's end.
    void reported(const QString &identifier, const QString &code, bool isSettled);
    /// Nothing left.
    void withdrawn(const QString &identifier);

    /// The oldest first. An attempt that is under way right now is among them.
    std::vector<UnsettledAttempt> unsettled();
    /// False where there is no such attempt, or it can't be written.
    bool settle(const QString &identifier);

private:
    bool write(const char *sql, const std::vector<QString> &texts); // Qt's list uses what it was not given.
    void forgetOld();

    SqliteStore m_store;
    std::atomic<qint64> m_forgotten{0}; ///< The Julian day on which that was done last.
};

} // namespace kelpay

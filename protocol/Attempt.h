#pragma once

#include "AttemptLedger.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>

namespace kelpay {

/// One payment from its start to its report. Its stage only goes forward: who reports to the host withdraws first, who
/// sends asks last. One of them wins, so nothing leaves after it was called withdrawn. Any thread.
class Attempt
{
public:
    /// Why no answer follows.
    enum class Silence {
        Mistake, ///< The request can't be built, which was a programming error: nothing was done.
        Unsent,  ///< The request has not left.
        Unknown, ///< It may have left; nobody knows what came of it.
    };
    using SilenceListener = std::function<void(Silence)>;

    /// Null, with a log line and an event, while another payment of this application is under way, here or in another
    /// process.
    static std::shared_ptr<Attempt> begin(const QString &additionalData);
    /// The one that is under way in this process; null where none is.
    static std::shared_ptr<Attempt> current();
    ~Attempt();
    Attempt(const Attempt &) = delete;
    Attempt &operator=(const Attempt &) = delete;

    QString identifier() const;
    bool isWithdrawn() const { return m_stage == Stage::Withdrawn; }
    bool mayHaveMoved() const;
    /// Its outcome is being told, or it was abandoned.
    bool hasEnded() const;
    /// Ended, and nothing of it is on its way: another may begin.
    bool isOver() const;

    /// What is paid, from the token's answer.
    void setPurchase(const QString &amount, const QString &token);
    /// Told once, on the main queue, when an exchange ends without an answer; replaces the one before it.
    void setSilenceListener(SilenceListener listener);

    // The exchanges, on their threads.

    /// The request is complete and about to be sent. False where it must not be: a payment that can't be written down.
    bool asking(bool isPayment, const QString &merchantID);
    /// The last moment before a request's bytes leave; false for a payment that was withdrawn.
    bool leave(bool isPayment);
    /// The exchange has ended, whatever came of it.
    void landed();
    /// An answer that can't be opened says nothing of the money.
    void answered(bool isPayment, const QString &code, bool isReadable);
    void fellSilent(bool isPayment, Silence silence);

    // The screens and the entry point.

    /// An exchange is about to be built, in the background: until it has landed, no other attempt begins.
    void takeOff();
    void screenShown();
    void submitted();
    /// True when nothing of the payment has left, and from now on nothing will.
    bool withdraw();
    /// Nothing more is done for it but what is on its way. Before the host is told, who may start the next one then.
    /// False where it had ended before: somebody else has the last word.
    bool end();
    /// The host was told `code`; `isOutcome` when it is what became of the payment, as far as the service answered.
    void reported(const QString &code, bool isOutcome);
    /// The screens are gone and nobody is told. Ends it, unless it has ended.
    void abandoned();

private:
    enum class Stage {
        Begun,       ///< Nothing of the payment may leave yet.
        AboutToSend, ///< Its request may leave any moment.
        Sent,        ///< It may have left.
        Answered,
        Withdrawn, ///< It has not left and will not.
    };
    struct Gate;
    Attempt(std::unique_ptr<Gate> gate, const QString &additionalData);
    void tell(PaymentEvent::Kind kind, bool isPayment = false, const QString &code = {}) const;
    UnsettledAttempt record() const;
    bool takeBack();
    void change(const std::function<void()> &change);

    std::atomic<Stage> m_stage = Stage::Begun;
    mutable std::mutex m_mutex; // over what follows
    std::unique_ptr<Gate> m_gate;
    UnsettledAttempt m_record;
    SilenceListener m_silenceListener;
    bool m_isInFlight = false;
    bool m_isEnded = false;
    bool m_isOver = false;
};

} // namespace kelpay

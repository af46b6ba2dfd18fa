#include "HostProfile.h"

#include "platform/Dispatch.h"
#include "platform/Log.h"

#include <chrono>
#include <condition_variable>
#include <new>

namespace kelpay {

namespace {

// Calls into the host, of whichever profile.
std::mutex callMutex;
std::condition_variable callsChanged;
bool callsClosed = false;
int callsRunning = 0;
thread_local int callsRunningHere = 0;

/// A call into the host, as long as this lives.
class Call
{
public:
    Call()
    {
        const std::scoped_lock lock(callMutex);
        m_isAllowed = !callsClosed;
        ++callsRunning;
        ++callsRunningHere;
    }
    Call(const Call &) = delete;
    Call &operator=(const Call &) = delete;
    ~Call()
    {
        const std::scoped_lock lock(callMutex);
        --callsRunning;
        --callsRunningHere;
        callsChanged.notify_all();
    }
    bool isAllowed() const { return m_isAllowed; }

private:
    bool m_isAllowed;
};

} // namespace

HostProfile &HostProfile::shared()
{
    // Never destroyed: a background task may still look at it while the process ends.
    static auto *const profile = new HostProfile;
    return *profile;
}

bool HostProfile::ziaprod() const
{
    const std::scoped_lock lock(m_mutex);
    return m_ziaprod;
}

void HostProfile::setZiaprod(bool ziaprod)
{
    const std::scoped_lock lock(m_mutex);
    m_ziaprod = ziaprod;
}

QString HostProfile::bid() const
{
    const std::scoped_lock lock(m_mutex);
    return m_bid;
}

void HostProfile::setBid(const QString &bid)
{
    const std::scoped_lock lock(m_mutex);
    m_bid = bid;
}

QString HostProfile::log() const
{
    const std::scoped_lock lock(m_mutex);
    return m_log;
}

void HostProfile::setLog(const QString &log)
{
    const std::scoped_lock lock(m_mutex);
    m_log = log;
}

HostProfile::StatusBlock HostProfile::paymentStatusBlock() const
{
    const std::scoped_lock lock(m_mutex);
    return m_paymentStatusBlock;
}

void HostProfile::setPaymentStatusBlock(StatusBlock block)
{
    const std::scoped_lock lock(m_mutex);
    m_paymentStatusBlock.swap(block);
}

HostProfile::Block HostProfile::responseBlock() const
{
    const std::scoped_lock lock(m_mutex);
    return m_responseBlock;
}

void HostProfile::setResponseBlock(Block block)
{
    const std::scoped_lock lock(m_mutex);
    m_responseBlock.swap(block);
}

void HostProfile::setObserver(Observer observer)
{
    const std::scoped_lock lock(m_mutex);
    m_observer.swap(observer);
}

void HostProfile::addObserver(QObject *context, Observer observer)
{
    const std::scoped_lock lock(m_mutex);
    std::erase_if(m_observers, [](const auto &entry) { return !entry.first; });
    m_observers.emplace_back(context, std::move(observer));
}

void HostProfile::tell(const PaymentEvent &event)
try {
    {
        const std::scoped_lock lock(m_mutex);
        m_events.push_back(event);
    }
    Dispatch::main([this] { tellPending(); });
} catch (const std::bad_alloc &) {
    // Who only looks on must not stop a payment on its way.
    qCWarning(logDevice, "an event is told late or not at all: memory ran out");
}

void HostProfile::tellPending()
{
    std::vector<PaymentEvent> events;
    std::vector<std::pair<QPointer<QObject>, Observer>> observers;
    {
        const std::scoped_lock lock(m_mutex);
        events.swap(m_events);
        observers = m_observers;
    }
    for (const PaymentEvent &event : events) {
        // Asked for each: an observer may have taken itself away meanwhile.
        Observer ofHost;
        {
            const std::scoped_lock lock(m_mutex);
            ofHost = m_observer;
        }
        const Call call;
        if (call.isAllowed() && ofHost)
            ofHost(event);
        for (const auto &[context, observer] : observers) {
            if (call.isAllowed() && context)
                observer(event);
        }
    }
}

HostProfile::Report HostProfile::reporter() const
{
    return [block = paymentStatusBlock()](bool success, const QString &code, const QString &description,
                                          const QString &reference, const QString &merchantReference) {
        const Call call;
        if (!block || !call.isAllowed())
            return false;
        block(success, code, description, reference, merchantReference);
        return true;
    };
}

void HostProfile::setClosed(bool isClosed)
{
    std::unique_lock lock(callMutex);
    callsClosed = isClosed;
    if (isClosed)
        callsChanged.wait_for(lock, std::chrono::seconds(2), [] { return callsRunning == callsRunningHere; });
}

} // namespace kelpay

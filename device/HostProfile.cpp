#include "HostProfile.h"

#include "platform/Dispatch.h"

namespace kelpay {

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
{
    {
        const std::scoped_lock lock(m_mutex);
        m_events.push_back(event);
    }
    Dispatch::main([this] { tellPending(); });
}

void HostProfile::tellPending()
{
    std::vector<PaymentEvent> events;
    std::vector<std::pair<QPointer<QObject>, Observer>> observers;
    Observer ofHost;
    {
        const std::scoped_lock lock(m_mutex);
        events.swap(m_events);
        if (m_isClosed)
            return;
        observers = m_observers;
        ofHost = m_observer;
    }
    for (const PaymentEvent &event : events) {
        if (ofHost)
            ofHost(event);
        for (const auto &[context, observer] : observers) {
            if (context)
                observer(event);
        }
    }
}

void HostProfile::setClosed(bool isClosed)
{
    if (isClosed)
        tellPending();
    const std::scoped_lock lock(m_mutex);
    m_isClosed = isClosed;
}

bool HostProfile::reportStatus(const Outcome &failure) const
{
    return reportStatus(false, failure.code.toString(), failure.description.toString());
}

bool HostProfile::reportStatus(bool success, const QString &code, const QString &description, const QString &reference,
                               const QString &merchantReference) const
{
    StatusBlock block;
    {
        const std::scoped_lock lock(m_mutex);
        if (!m_isClosed)
            block = m_paymentStatusBlock;
    }
    if (block)
        block(success, code, description, reference, merchantReference);
    return block != nullptr;
}

} // namespace kelpay

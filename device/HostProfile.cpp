#include "HostProfile.h"

namespace kelpay {

HostProfile &HostProfile::shared()
{
    static HostProfile profile;
    return profile;
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

void HostProfile::reportStatus(const Outcome &failure) const
{
    reportStatus(false, failure.code.toString(), failure.description.toString());
}

void HostProfile::reportStatus(bool success, const QString &code, const QString &description, const QString &reference,
                               const QString &merchantReference) const
{
    if (const StatusBlock block = paymentStatusBlock())
        block(success, code, description, reference, merchantReference);
}

} // namespace kelpay

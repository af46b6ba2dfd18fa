#include "Ticker.h"

#include <algorithm>
#include <atomic>

namespace kelpay {

namespace {
std::atomic<double> tickerRate{1.0};
}

Ticker::Ticker(std::chrono::milliseconds interval, QObject *parent) : QObject(parent), m_interval(interval)
{
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &Ticker::fired);
}

void Ticker::start()
{
    const auto scaled = std::chrono::duration<double, std::milli>(m_interval) / tickerRate.load();
    m_timer.start(std::max(std::chrono::milliseconds(1), std::chrono::round<std::chrono::milliseconds>(scaled)));
}

void Ticker::invalidate()
{
    m_timer.stop();
}

bool Ticker::isValid() const
{
    return m_timer.isActive();
}

void Ticker::setRate(double rate)
{
    if (rate > 0)
        tickerRate = rate;
}

} // namespace kelpay

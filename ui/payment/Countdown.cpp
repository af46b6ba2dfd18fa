#include "Countdown.h"

namespace kelpay {

Countdown::Tick Countdown::fire()
{
    if (m_minute < 0)
        return Tick::Over;
    if (m_seconds == 0) {
        --m_minute;
        m_seconds = 59;
    } else {
        --m_seconds;
    }
    return m_minute < 0 ? Tick::Silent : Tick::Shown;
}

QString Countdown::text() const
{
    return QStringLiteral("%1 دقیقه و %2 ثانیه").arg(m_minute).arg(m_seconds, 2, 10, QLatin1Char('0'));
}

} // namespace kelpay

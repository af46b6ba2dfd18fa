#include "Countdown.h"

namespace kelpay {

using namespace Qt::StringLiterals;

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
    return u"%1 دقیقه و %2 ثانیه"_s.arg(m_minute).arg(m_seconds, 2, 10, QChar(u'0'));
}

} // namespace kelpay

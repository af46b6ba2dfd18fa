#include "NotificationBanner.h"

namespace kelpay {

namespace {

constexpr std::chrono::milliseconds slide(300);
constexpr std::chrono::milliseconds reading(2000);

} // namespace

NotificationBanner::NotificationBanner(QObject *parent) : QObject(parent)
{
    for (QTimer *timer : {&m_raise, &m_finish}) {
        timer->setSingleShot(true);
        timer->setTimerType(Qt::PreciseTimer);
    }
    m_raise.setInterval(slide + reading);
    m_finish.setInterval(slide);
    connect(&m_raise, &QTimer::timeout, this, [this] {
        m_lowered = false;
        Q_EMIT loweredChanged();
        m_finish.start();
    });
    connect(&m_finish, &QTimer::timeout, this, [this] { m_animating = false; });
}

void NotificationBanner::show(const QString &message)
{
    if (m_animating)
        return;
    m_message = message;
    m_animating = true;
    m_lowered = true;
    Q_EMIT messageChanged();
    Q_EMIT loweredChanged();
    m_raise.start();
}

} // namespace kelpay

#include "Announcement.h"

#include <QAccessible>

namespace kelpay {

void Announcement::setText(const QString &text)
{
    if (m_text == text)
        return;
    m_text = text;
    Q_EMIT textChanged();
    if (!text.isEmpty())
        announce();
}

void Announcement::announce()
{
    // Later, because an item that is being made is not in the tree yet.
    const auto tell = [this] {
        QAccessibleEvent event(this, QAccessible::Alert);
        QAccessible::updateAccessibility(&event);
    };
    QMetaObject::invokeMethod(this, tell, Qt::QueuedConnection);
}

} // namespace kelpay

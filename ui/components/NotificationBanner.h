#pragma once

#include <QObject>
#include <QString>
#include <QTimer>
#include <QtQml/qqmlregistration.h>

namespace kelpay {

/// A message that slides over the status bar: 0.3 s down, 2.0 s to read, 0.3 s back. A message that comes while one is
/// on its way is not shown.
class NotificationBanner : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Belongs to a screen")
    Q_PROPERTY(QString message READ message NOTIFY messageChanged)
    Q_PROPERTY(bool lowered READ isLowered NOTIFY loweredChanged)

public:
    explicit NotificationBanner(QObject *parent = nullptr);

    void show(const QString &message);
    QString message() const { return m_message; }
    /// From the first frame down to the last frame back.
    bool isAnimating() const { return m_animating; }
    /// Down, or on its way down.
    bool isLowered() const { return m_lowered; }

Q_SIGNALS:
    void messageChanged();
    void loweredChanged();

private:
    QString m_message;
    bool m_animating = false;
    bool m_lowered = false;
    QTimer m_raise;
    QTimer m_finish;
};

} // namespace kelpay

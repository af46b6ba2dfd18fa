#pragma once

#include <QQuickItem>
#include <QtQml/qqmlregistration.h>

namespace kelpay {

/// Tells a screen reader each text that it is given; the eye sees nothing. Whoever places one binds its
/// `Accessible.name` to the text and gives it the role of an alert message. Main queue.
class Announcement : public QQuickItem
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString text READ text WRITE setText NOTIFY textChanged)

public:
    using QQuickItem::QQuickItem;

    QString text() const { return m_text; }
    void setText(const QString &text);
    /// Tells the text once more.
    Q_INVOKABLE void announce();

Q_SIGNALS:
    void textChanged();

private:
    QString m_text;
};

} // namespace kelpay

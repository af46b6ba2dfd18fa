#pragma once

#include <QPointer>
#include <QQuickItem>
#include <QtQml/qqmlregistration.h>

namespace kelpay {

/// What a screen reader meets in the place of a secret field: a password field with a name, that can be focused and
/// holds no text. The field itself is left out of the accessibility tree, because there it would show its clear text,
/// and Qt gives no name to any item that says it is a password's; a reader without that word speaks the keys.
/// Whoever places one gives it an accessible role, by which Qt finds it. Main queue.
class SecretStandIn : public QQuickItem
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString label MEMBER label REQUIRED FINAL)
    Q_PROPERTY(QString complaint MEMBER complaint FINAL)
    /// The field that it stands for.
    Q_PROPERTY(QQuickItem *field READ field WRITE setField REQUIRED FINAL)

public:
    explicit SecretStandIn(QQuickItem *parent = nullptr);

    QQuickItem *field() const { return m_field; }
    void setField(QQuickItem *field);

    QString label;
    QString complaint;

private:
    QPointer<QQuickItem> m_field;
};

} // namespace kelpay

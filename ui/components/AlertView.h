#pragma once

#include <QFont>
#include <QObject>
#include <QStringList>
#include <QtQml/qqmlregistration.h>

#include <functional>
#include <vector>

namespace kelpay {

/// A question over a screen: title, message, buttons and a cancel button. Each alert is answered once. The screen that
/// shows it binds an AlertPanel to it.
class AlertView : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Alerts are made in C++")
    Q_PROPERTY(bool shown READ isShown NOTIFY shownChanged)
    Q_PROPERTY(QString title READ title NOTIFY shownChanged)
    Q_PROPERTY(QString message READ message NOTIFY shownChanged)
    Q_PROPERTY(QStringList buttons READ buttons NOTIFY shownChanged)
    Q_PROPERTY(QString cancelButton READ cancelButton NOTIFY shownChanged)
    /// The cancel button has the keys at first: another one is not to be pressed by a stray Return.
    Q_PROPERTY(bool startsAtCancel MEMBER startsAtCancel NOTIFY shownChanged)
    Q_PROPERTY(QFont titleFont MEMBER titleFont NOTIFY shownChanged)
    Q_PROPERTY(QFont messageFont MEMBER messageFont NOTIFY shownChanged)
    Q_PROPERTY(QFont buttonFont MEMBER buttonFont NOTIFY shownChanged)
    Q_PROPERTY(QFont cancelButtonFont MEMBER cancelButtonFont NOTIFY shownChanged)

public:
    using Handler = std::function<void()>;

    using QObject::QObject;

    void addButton(const QString &text, Handler handler);
    void setCancelButton(const QString &text, Handler handler);
    void show(const QString &title, const QString &message);
    /// Takes the alert away without calling a handler, as the Escape key does.
    Q_INVOKABLE void dismiss();

    bool isShown() const { return m_shown; }
    QString title() const { return m_title; }
    QString message() const { return m_message; }
    QStringList buttons() const;
    QString cancelButton() const { return m_cancel.text; }

    /// The person's answer; nothing while the alert is not shown.
    Q_INVOKABLE void press(int button);
    Q_INVOKABLE void pressCancel();

    bool startsAtCancel = false;
    QFont titleFont;
    QFont messageFont;
    QFont buttonFont;
    QFont cancelButtonFont;

Q_SIGNALS:
    void shownChanged();

private:
    struct Button
    {
        QString text;
        Handler handler;
    };
    void answer(const Handler &handler);

    bool m_shown = false;
    QString m_title;
    QString m_message;
    std::vector<Button> m_buttons;
    Button m_cancel;
};

} // namespace kelpay

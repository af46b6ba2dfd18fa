#pragma once

#include <QObject>
#include <QQmlEngine>
#include <QString>

/// What the shop's QML sees of the command line, and where it reports the outcome of a payment.
class Session : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by main")
    Q_PROPERTY(QString merchant MEMBER merchant CONSTANT)
    Q_PROPERTY(QString msisdn MEMBER msisdn CONSTANT)
    Q_PROPERTY(QString additional MEMBER additional CONSTANT)
    /// Payment parameters that replace the basket's; "" for the basket's.
    Q_PROPERTY(QString params MEMBER params CONSTANT)

public:
    using QObject::QObject;

    QString merchant;
    QString msisdn;
    QString additional;
    QString params;

    Q_INVOKABLE void report(bool success, const QString &code, const QString &description, const QString &reference,
                            const QString &merchantReference)
    {
        Q_EMIT finished(success, code, description, reference, merchantReference);
    }

Q_SIGNALS:
    void finished(bool success, const QString &code, const QString &description, const QString &reference,
                  const QString &merchantReference);
};

#pragma once

#include <QObject>
#include <QQmlEngine>
#include <QString>
#include <QStringList>

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
    /// Whether the SDK tells about the device, and whether the shop opens with that page.
    Q_PROPERTY(bool knowsDevice MEMBER knowsDevice CONSTANT)
    Q_PROPERTY(bool about MEMBER about CONSTANT)

public:
    using QObject::QObject;

    QString merchant;
    QString msisdn;
    QString additional;
    QString params;
#ifdef KELPAY_SHOP_SANDBOX
    bool knowsDevice = true;
#else
    bool knowsDevice = false;
#endif
    bool about = false;

    Q_INVOKABLE void report(bool success, const QString &code, const QString &description, const QString &reference,
                            const QString &merchantReference)
    {
        Q_EMIT finished(success, code, description, reference, merchantReference);
    }

    Q_INVOKABLE void describe(const QStringList &names, const QStringList &values)
    {
        Q_EMIT described(names, values);
    }

Q_SIGNALS:
    void described(const QStringList &names, const QStringList &values);
    void finished(bool success, const QString &code, const QString &description, const QString &reference,
                  const QString &merchantReference);
};

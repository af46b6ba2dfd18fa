#pragma once

#include <QObject>
#include <QQmlEngine>
#include <QString>

namespace kelpay {

/// KelPayCore for QML hosts: `import KelPay`, then `Payment { merchantId: "1234"; onFinished: … }`. The engine needs
/// "qrc:/qt/qml" among its import paths. Signals arrive on the main thread. Several items share the one payment that
/// can be under way: each sees `busy` and the steps.
class Payment : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    /// The merchant that this item's payments are for; stored when one starts.
    Q_PROPERTY(QString merchantId MEMBER m_merchantId NOTIFY merchantIdChanged)
    /// A payment is under way: another is refused.
    Q_PROPERTY(bool busy READ isBusy NOTIFY busyChanged)

public:
    explicit Payment(QObject *parent = nullptr);

    bool isBusy() const;

    /// See KelPayCore::startPaymentWithMSISDN. Outcomes arrive at this object until another one starts a payment.
    Q_INVOKABLE void start(const QString &msisdn, const QString &additionalData, const QString &paymentParams);

    /// See KelPayCore::abandon.
    Q_INVOKABLE void abandon();

Q_SIGNALS:
    void merchantIdChanged();
    void busyChanged();
    /// A step of the payment; see PaymentEvent. `step` is the name of its kind: "Started", "Refused", "TokenAsked", …
    void stepped(const QString &step, const QString &attempt, bool isPayment, bool mayHaveMoved, const QString &code);
    /// The outcome; see KelPayCore::StatusCallback.
    void finished(bool success, const QString &code, const QString &description, const QString &reference,
                  const QString &merchantReference);

private:
    QString m_merchantId;
};

} // namespace kelpay

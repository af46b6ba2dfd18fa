#pragma once

#include <QObject>
#include <QQmlEngine>
#include <QString>
#include <QVariant>

namespace kelpay {

/// KelPayCore for QML hosts: `import KelPay`, then `Payment { merchantId: "1234"; onFinished: … }`. Signals arrive on
/// the main thread. Several items share the one payment that
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
    ~Payment() override;

    bool isBusy() const;

    /// See KelPayCore::startPaymentWithMSISDN. Outcomes arrive at this object until another one starts a payment.
    Q_INVOKABLE void start(const QString &msisdn, const QString &additionalData, const QString &paymentParams);

    /// See KelPayCore::abandon.
    Q_INVOKABLE void abandon();

    /// Fetch a product list; the signal of its name answers. See KelPayCore::getInternetListWithCompletion for how long
    /// that can take.
    Q_INVOKABLE void fetchInternetList();
    Q_INVOKABLE void fetchChargeList();

    /// See KelPayCore: one map an attempt, its keys named as UnsettledAttempt's members.
    Q_INVOKABLE QVariantList unsettledAttempts() const;
    Q_INVOKABLE bool settleAttempt(const QString &identifier);

Q_SIGNALS:
    void merchantIdChanged();
    void busyChanged();
    /// A step of the payment; see PaymentEvent. `step` is the name of its kind: "Started", "Refused", "TokenAsked", …
    void stepped(const QString &step, const QString &attempt, bool isPayment, bool mayHaveMoved, const QString &code);
    /// The outcome; see KelPayCore::StatusCallback.
    void finished(bool success, const QString &code, const QString &description, const QString &reference,
                  const QString &merchantReference);
    /// See KelPayCore::ListCallback.
    void internetList(bool ok, const QVariant &list);
    void chargeList(bool ok, const QVariant &list);
    /// A mistake of the host's code, see KelPayCore::setProgrammingErrorHandler. While an item handles this signal, the
    /// process goes on; while none does, it ends.
    void programmingError(const QString &message);

protected:
    void connectNotify(const QMetaMethod &signal) override;

private:
    void stopListening();

    QString m_merchantId;
};

} // namespace kelpay

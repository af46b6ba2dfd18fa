#pragma once

#include <QObject>
#include <QQmlEngine>
#include <QString>

namespace kelpay {

/// KelPayCore for QML hosts: `import KelPay`, then `Payment { merchantId: "1234"; onFinished: … }`. The engine needs
/// "qrc:/qt/qml" among its import paths. Signals arrive on the main thread.
class Payment : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    /// Stored when set; see KelPayCore::initWithMerchantID.
    Q_PROPERTY(QString merchantId READ merchantId WRITE setMerchantId NOTIFY merchantIdChanged)

public:
    using QObject::QObject;

    QString merchantId() const { return m_merchantId; }
    void setMerchantId(const QString &merchantId);

    /// See KelPayCore::startPaymentWithMSISDN. Outcomes arrive at this object until another one starts a payment.
    Q_INVOKABLE void start(const QString &msisdn, const QString &additionalData, const QString &paymentParams);

Q_SIGNALS:
    void merchantIdChanged();
    /// The outcome; see KelPayCore::StatusCallback.
    void finished(bool success, const QString &code, const QString &description, const QString &reference,
                  const QString &merchantReference);

private:
    QString m_merchantId;
};

} // namespace kelpay

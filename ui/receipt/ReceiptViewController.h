#pragma once

#include "records/BaseClassp.h"
#include "ui/components/ViewController.h"

#include <optional>

namespace kelpay {

/// The receipt: what came of the payment. Its one action closes the flow and reports the outcome. Main queue.
class ReceiptViewController : public ViewController
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the storyboard")
    Q_PROPERTY(QString mrc MEMBER m_mrc FINAL)
    Q_PROPERTY(QString amn MEMBER m_amn FINAL)
    Q_PROPERTY(QString dsc MEMBER m_dsc FINAL)
    Q_PROPERTY(QString callbackCode MEMBER m_callbackCode FINAL)
    Q_PROPERTY(QString callbackDescription MEMBER m_callbackDescription FINAL)
    Q_PROPERTY(QString statusText READ statusText NOTIFY changed)
    Q_PROPERTY(QString merchantText READ merchantText NOTIFY changed)
    Q_PROPERTY(QString amountText READ amountText NOTIFY changed)
    Q_PROPERTY(QString descriptionText READ descriptionText NOTIFY changed)
    Q_PROPERTY(QStringList lineNames READ lineNames NOTIFY changed)
    Q_PROPERTY(QStringList lineValues READ lineValues NOTIFY changed)
    Q_PROPERTY(bool isSuccess READ isSuccess NOTIFY changed)

public:
    /// What was stored of a payment; reads the keychain and the user defaults. Any thread.
    struct PaymentData
    {
        std::optional<QString> mpin; ///< Merchant identifier.
        std::optional<QString> crn;  ///< Card number.
        QString bn;                  ///< Issuing bank.
        QString trt;                 ///< Date, Solar Hijri.
        std::optional<QString> mrn;  ///< Reference number.
        std::optional<QString> urn;  ///< Tracking number.
        std::optional<QString> ds;   ///< The service's description.
        double rc = 0;
        double ti = 0;

        static PaymentData gather();
        bool isSuccess() const { return rc == 0 && ti != 0; }
        /// The six lines of the receipt.
        QString receiptText() const;
    };

    explicit ReceiptViewController(QObject *parent = nullptr);

    void viewDidLoad() override;
    QString title() const override { return QStringLiteral("رسید پرداخت"); }
    void closeRequested() override { donePayment(); }

    /// A "yyyy-MM-dd" text as Solar Hijri date, "" for another text.
    static QString simpleDateConversion(const QString &isoDate);
    Q_INVOKABLE void donePayment();

    QString statusText() const { return m_statusText; }
    QString merchantText() const { return m_merchantText; }
    QString amountText() const { return m_amountText; }
    QString descriptionText() const { return m_descriptionText; }
    /// The description's "name : value" lines taken apart; none for a failure's text.
    QStringList lineNames() const;
    QStringList lineValues() const;
    bool isSuccess() const { return m_isSuccess; }

Q_SIGNALS:
    void changed();

private:
    void loadPaymentData();
    QStringList receiptLines() const;

    QString m_mrc;
    QString m_amn;
    QString m_dsc;
    QString m_callbackCode;
    QString m_callbackDescription;
    QString m_statusText;
    QString m_merchantText;
    QString m_amountText;
    QString m_descriptionText;
    bool m_isSuccess = false;
    bool m_isDone = false;
};

} // namespace kelpay

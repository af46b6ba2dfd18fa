#pragma once

#include "records/BaseClassp.h"
#include "ui/components/ReceiptInput.h"
#include "ui/components/ViewController.h"

#include <optional>
#include <vector>

namespace kelpay {

using namespace Qt::StringLiterals;

/// The receipt: what came of the payment. Its one action closes the flow. Main queue.
class ReceiptViewController : public ViewController
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the storyboard")
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
        double ti = 0; ///< Trace number.

        static PaymentData gather();
        bool isSuccess() const { return rc == 0 && ti != 0; }
    };
    struct Line
    {
        QString name;
        QString value;
    };
    /// The six lines of a success.
    static std::vector<Line> linesOf(const PaymentData &data);

    explicit ReceiptViewController(const ReceiptInput &input, QObject *parent = nullptr);
    /// Tells the host the outcome, unless it was told: also when the window goes, or the application ends.
    ~ReceiptViewController() override;

    void viewDidLoad() override;
    QString title() const override { return u"رسید پرداخت"_s; }
    void closeRequested() override { donePayment(); }
    void abandon() override;

    /// A "yyyy-MM-dd" text as Solar Hijri date, "" for another text.
    static QString simpleDateConversion(const QString &isoDate);
    Q_INVOKABLE void donePayment();

    QString statusText() const { return m_statusText; }
    QString merchantText() const { return m_merchantText; }
    QString amountText() const { return m_amountText; }
    /// What happened: the six lines "name : value" of a success, the service's word on a failure.
    QString descriptionText() const { return m_descriptionText; }
    /// The same lines, each in two; none for a failure.
    QStringList lineNames() const;
    QStringList lineValues() const;
    const ReceiptInput &input() const { return m_input; }
    bool isSuccess() const { return m_isSuccess; }

Q_SIGNALS:
    void changed();

private:
    void loadPaymentData();
    void show(const PaymentData &data);
    void deliver();

    const ReceiptInput m_input;
    QPointer<NavigationController> m_paymentScreen;
    std::vector<Line> m_lines;
    QString m_statusText;
    QString m_merchantText;
    QString m_amountText;
    QString m_descriptionText;
    bool m_isSuccess = false;
    bool m_isDone = false;
    bool m_isDelivered = false;
};

} // namespace kelpay

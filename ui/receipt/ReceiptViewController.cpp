#include "ReceiptViewController.h"

#include "device/CoreFunctions.h"
#include "device/HostProfile.h"
#include "platform/Dispatch.h"
#include "platform/Formats.h"
#include "platform/UserDefaults.h"
#include "security/keychain/CoreKeychain.h"
#include "ui/components/NavigationController.h"
#include "ui/components/ProgressOverlay.h"
#include "ui/components/Storyboard.h"
#include "ui/payment/ViewUtils.h"

#include <array>

namespace kelpay {

namespace {

const Storyboard::Scene scene(QStringLiteral("ReceiptView"), [] { return std::make_unique<ReceiptViewController>(); });

const QString separator = QStringLiteral(" : ");

/// Merchants whose payment screen stays after the receipt.
bool keepsPaymentScreen(const std::optional<QString> &merchantID)
{
    constexpr std::array<QLatin1String, 8> merchants{
        QLatin1String("3014"), QLatin1String("3037"), QLatin1String("3038"), QLatin1String("3039"),
        QLatin1String("3040"), QLatin1String("3078"), QLatin1String("3087"), QLatin1String("3086")};
    return merchantID && std::find(merchants.begin(), merchants.end(), *merchantID) != merchants.end();
}

} // namespace

ReceiptViewController::PaymentData ReceiptViewController::PaymentData::gather()
{
    PaymentData data;
    data.mpin = CoreKeychain().string(QStringLiteral("mid"));
    data.crn = UserDefaults::standard().string(QStringLiteral("crn"));
    data.bn = CoreFunctions().bankName(data.crn.value_or(QString()));
    const BaseClassp answer = CoreFunctions().storedPaymentAnswer().value_or(BaseClassp());
    data.trt = simpleDateConversion(textValue(answer.st).value_or(QString()).left(10)).remove(QStringLiteral("ه.ش. "));
    data.urn = textValue(answer.rd.urn);
    data.mrn = textValue(answer.rd.mrn);
    data.ds = textValue(answer.ds);
    data.rc = answer.rc;
    data.ti = answer.ti;
    return data;
}

QString ReceiptViewController::PaymentData::receiptText() const
{
    return QStringLiteral("کد پذیرنده : %1\nشماره کارت : %2\nبانک صادرکننده : %3\nشماره مرجع : %4\nشماره پیگیری : %5\n"
                          "زمان تراکنش : %6")
        .arg(mpin.value_or(QString()), crn.value_or(QString()), bn, mrn.value_or(QString()), urn.value_or(QString()),
             trt);
}

ReceiptViewController::ReceiptViewController(QObject *parent)
    : ViewController(QUrl(QStringLiteral("qrc:/qt/qml/KelPay/Receipt/ReceiptView.qml")), parent)
{}

void ReceiptViewController::viewDidLoad()
{
    loadPaymentData();
}

void ReceiptViewController::loadPaymentData()
{
    ProgressOverlay::show();
    Dispatch::global(Dispatch::Priority::High, [screen = QPointer(this)] {
        const PaymentData data = PaymentData::gather();
        Dispatch::main([screen, data] {
            if (!screen)
                return;
            screen->m_isSuccess = data.isSuccess();
            screen->m_statusText = data.isSuccess() ? QStringLiteral("پرداخت موفق") : QStringLiteral("پرداخت ناموفق");
            if (data.isSuccess())
                screen->m_dsc = data.receiptText();
            Q_EMIT screen->changed();
        });
        Dispatch::main([screen] {
            if (screen) {
                screen->m_merchantText = QStringLiteral("پذیرنده : %1").arg(screen->m_mrc);
                screen->m_amountText = QStringLiteral("مبلغ\u200c : %1").arg(screen->m_amn);
                screen->m_descriptionText = screen->m_dsc;
                Q_EMIT screen->changed();
            }
            ProgressOverlay::dismiss();
        });
    });
}

QStringList ReceiptViewController::lineNames() const
{
    QStringList names;
    for (const QString &line : receiptLines())
        names.append(line.section(separator, 0, 0));
    return names;
}

QStringList ReceiptViewController::lineValues() const
{
    QStringList values;
    for (const QString &line : receiptLines())
        values.append(line.section(separator, 1));
    return values;
}

QStringList ReceiptViewController::receiptLines() const
{
    if (!m_isSuccess || m_descriptionText.isEmpty())
        return {};
    return m_descriptionText.split(QLatin1Char('\n'));
}

QString ReceiptViewController::simpleDateConversion(const QString &isoDate)
{
    return Formats::solarHijriDate(isoDate);
}

void ReceiptViewController::donePayment()
{
    if (m_isDone)
        return;
    m_isDone = true;
    dismiss(true, [code = m_callbackCode, description = m_callbackDescription,
                   navigation = QPointer(navigationController())] {
        const bool staysOpen = keepsPaymentScreen(CoreKeychain().string(QStringLiteral("mid")));
        Dispatch::global(Dispatch::Priority::High, [code, description, navigation, staysOpen] {
            const PaymentData data = PaymentData::gather();
            if (data.isSuccess())
                HostProfile::shared().reportStatus(true, QStringLiteral("1"), QStringLiteral("Successful"),
                                                   data.urn.value_or(QString()), data.mrn.value_or(QString()));
            else
                HostProfile::shared().reportStatus(false, code, description);
            // Only now may the payment screen speak again: no other outcome overtakes this one.
            if (staysOpen)
                Dispatch::main([navigation] {
                    if (navigation)
                        navigation->topViewController()->resume();
                });
        });
        if (!staysOpen)
            Dispatch::main([] { ViewUtils::topMostViewController()->dismiss(true); });
    });
}

} // namespace kelpay

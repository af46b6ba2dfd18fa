#include "ReceiptViewController.h"

#include "device/CoreFunctions.h"
#include "device/HostProfile.h"
#include "device/Outcomes.h"
#include "platform/Dispatch.h"
#include "platform/Formats.h"
#include "platform/UserDefaults.h"
#include "protocol/Attempt.h"
#include "security/keychain/CoreKeychain.h"
#include "ui/components/NavigationController.h"
#include "ui/components/ProgressOverlay.h"
#include "ui/components/Storyboard.h"

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

const Storyboard::Scene scene(u"ReceiptView"_s, [](const QVariant &input) {
    return std::make_unique<ReceiptViewController>(input.value<ReceiptInput>());
});

/// Tells the host, and closes the payment screen unless the merchant keeps it. Reads the keychain: off the main queue.
void finish(const ReceiptInput &input, const QPointer<NavigationController> &navigation)
{
    const auto data = ReceiptViewController::PaymentData::gather();
    const bool staysOpen = Merchants::keepPaymentScreen(data.mpin.value_or(QString()));
    // The block that this payment was started with, whatever is started next.
    const auto report = HostProfile::shared().reporter();
    if (input.attempt && !input.attempt->end())
        return;
    // The screen goes first: a host that starts its next payment inside the callback finds the way free.
    if (!staysOpen)
        Dispatch::main([navigation] {
            if (navigation)
                navigation->dismiss(true);
        });
    const QString code = data.isSuccess() ? Outcomes::successful.code.toString() : input.callbackCode;
    const bool isTold = data.isSuccess() ? report(true, code, Outcomes::successful.description.toString(),
                                                  data.urn.value_or(QString()), data.mrn.value_or(QString()))
                                         : report(false, code, input.callbackDescription, {}, {});
    // An answer that neither confirms nor refuses settles nothing.
    if (isTold && input.attempt)
        input.attempt->reported(code, data.isSuccess() || code != "0"_L1);
    // Only now may the payment screen speak again: no other outcome overtakes this one.
    if (staysOpen)
        Dispatch::main([navigation] {
            if (navigation)
                navigation->viewControllers().front()->resume();
        });
}

} // namespace

ReceiptViewController::PaymentData ReceiptViewController::PaymentData::gather()
{
    PaymentData data;
    data.mpin = CoreKeychain().stringForKey(u"mid"_s);
    data.crn = UserDefaults::standard().string(u"crn"_s);
    data.bn = CoreFunctions().bankNameForCardNumber(data.crn.value_or(QString()));
    const BaseClassp answer = CoreFunctions().storedPaymentAnswer().value_or(BaseClassp());
    data.trt = simpleDateConversion(textValue(answer.st).value_or(QString()).left(10)).remove(u"ه.ش. "_s);
    data.urn = textValue(answer.rd.urn);
    data.mrn = textValue(answer.rd.mrn);
    data.ds = textValue(answer.ds);
    data.rc = answer.rc;
    data.ti = answer.ti;
    return data;
}

std::vector<ReceiptViewController::Line> ReceiptViewController::linesOf(const PaymentData &data)
{
    return {{u"کد پذیرنده"_s, data.mpin.value_or(QString())},
            {u"شماره کارت"_s, data.crn.value_or(QString())},
            {u"بانک صادرکننده"_s, data.bn},
            {u"شماره مرجع"_s, Formats::shownText(data.mrn.value_or(QString()))},
            {u"شماره پیگیری"_s, Formats::shownText(data.urn.value_or(QString()))},
            {u"زمان تراکنش"_s, data.trt}};
}

ReceiptViewController::ReceiptViewController(const ReceiptInput &input, QObject *parent)
    : ViewController(QUrl(u"qrc:/qt/qml/KelPay/Receipt/ReceiptView.qml"_s), parent), m_input(input)
{}

ReceiptViewController::~ReceiptViewController()
{
    deliver();
}

void ReceiptViewController::deliver()
{
    if (!std::exchange(m_isDelivered, true))
        Dispatch::global(Dispatch::Priority::High,
                         [input = m_input, navigation = m_paymentScreen] { finish(input, navigation); });
}

void ReceiptViewController::abandon()
{
    m_isDelivered = true;
    if (m_input.attempt)
        m_input.attempt->abandoned();
}

void ReceiptViewController::viewDidLoad()
{
    loadPaymentData();
}

void ReceiptViewController::loadPaymentData()
{
    ProgressOverlay::show();
    Dispatch::global(Dispatch::Priority::High, [screen = QPointer(this)] {
        Dispatch::main([screen, data = PaymentData::gather()] {
            if (screen)
                screen->show(data);
            ProgressOverlay::dismiss();
        });
    });
}

void ReceiptViewController::show(const PaymentData &data)
{
    m_isSuccess = data.isSuccess();
    m_statusText = m_isSuccess ? u"پرداخت موفق"_s : u"پرداخت ناموفق"_s;
    m_merchantText = u"پذیرنده : %1"_s.arg(m_input.mrc);
    m_amountText = u"مبلغ\u200c : %1"_s.arg(m_input.amn);
    m_descriptionText = Formats::shownText(m_input.dsc);
    if (m_isSuccess) {
        m_lines = linesOf(data);
        QStringList texts;
        for (const Line &line : m_lines)
            texts.append(line.name + u" : "_s + line.value);
        m_descriptionText = texts.join(u'\n');
    }
    Q_EMIT changed();
}

QStringList ReceiptViewController::lineNames() const
{
    QStringList names;
    for (const Line &line : m_lines)
        names.append(line.name);
    return names;
}

QStringList ReceiptViewController::lineValues() const
{
    QStringList values;
    for (const Line &line : m_lines)
        values.append(line.value);
    return values;
}

QString ReceiptViewController::simpleDateConversion(const QString &isoDate)
{
    return Formats::solarHijriDate(isoDate);
}

void ReceiptViewController::donePayment()
{
    if (std::exchange(m_isDone, true))
        return;
    // Gone, it tells.
    m_paymentScreen = navigationController();
    dismiss(true);
}

} // namespace kelpay

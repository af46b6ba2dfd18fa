#include "PaymentViewController.h"

#include "VerificationViewController.h"
#include "ViewUtils.h"
#include "device/CoreFunctions.h"
#include "device/HostProfile.h"
#include "device/cards/SavedCard.h"
#include "platform/Bundle.h"
#include "platform/Dispatch.h"
#include "platform/Formats.h"
#include "platform/ScreenPresenter.h"
#include "platform/UserDefaults.h"
#include "ui/components/NavigationController.h"
#include "ui/components/ProgressOverlay.h"
#include "ui/components/ReceiptInput.h"
#include "ui/components/Storyboard.h"

#include <QCoreApplication>

namespace kelpay {

namespace {

using namespace std::chrono_literals;

const Storyboard::Scene scene(QStringLiteral("PaymentView"), [](const QVariant &) {
    return std::make_unique<NavigationController>(std::make_unique<PaymentViewController>());
});

void fillScreenPresenter()
{
    ScreenPresenter::setPresent([](const QString &storyboardIdentifier) {
        ViewUtils::topMostViewController()->present(
            ViewUtils::returnStoryboard().instantiateViewController(storyboardIdentifier), true);
    });
}
Q_COREAPP_STARTUP_FUNCTION(fillScreenPresenter)

QString rials(const std::optional<QString> &amount)
{
    return Formats::groupedNumber(integerValue(amount.value_or(QString()))) + QStringLiteral(" ریال");
}

QFont fontOf(const QString &family)
{
    QFont font(family);
    font.setPixelSize(16);
    return font;
}

void setFonts(AlertView &alert)
{
    alert.titleFont = fontOf(QStringLiteral("IRANSansFaNum-Medium"));
    alert.messageFont = fontOf(QStringLiteral("IRANSansMobile(FaNum)"));
    alert.buttonFont = alert.messageFont;
    alert.cancelButtonFont = alert.messageFont;
}

void sendThroughNetwork(const QString &detail, CoreNetworking::ResponseBlock block)
{
    Dispatch::global(Dispatch::Priority::High, [detail, block = std::move(block)] {
        CoreNetworking::create()->sendPaymentRequest(detail, block);
    });
}

} // namespace

PaymentViewController::PaymentViewController(QObject *parent)
    : ViewController(QUrl(QStringLiteral("qrc:/qt/qml/KelPay/Payment/PaymentView.qml")), parent)
    , m_sender(sendThroughNetwork)
    , m_timer(1000ms)
{
    connect(&m_timer, &Ticker::fired, this, &PaymentViewController::timerFired);
    connect(&m_form, &CardForm::notified, this, &PaymentViewController::showNotificationError);
    setFonts(m_leaveAlert);
    m_leaveAlert.addButton(QStringLiteral("ادامه پرداخت"), {});
    m_leaveAlert.setCancelButton(QStringLiteral("بله، انصراف"), [this] { cancelPayment(); });
}

PaymentViewController::~PaymentViewController()
{
    unloadView();
    m_form.clearSecrets();
}

void PaymentViewController::viewDidLoad()
{
    loadTokenData();
    connect(delegational(), &PickerViewDelegate::cardSet, &m_form, &CardForm::notifierFired);
    m_timer.start();
}

void PaymentViewController::loadTokenData()
{
    ProgressOverlay::show();
    const BaseClass token = CoreFunctions().storedTokenAnswer().value_or(BaseClass());
    if (const auto requestData = textValue(token.ard.r))
        UserDefaults::standard().setInteger(QStringLiteral("ard"), integerValue(*requestData));

    const Rd &rd = token.rd;
    const auto amn = textValue(rd.amn);
    const auto ta = textValue(rd.ta);
    m_amountText = rials(amn);
    m_detailText = QLatin1Char(' ') + textValue(rd.ttl).value_or(QString());
    m_merchantText = QLatin1Char(' ') + textValue(rd.mn).value_or(QString());
    m_detail = {UserDefaults::standard().string(QStringLiteral("pcc")), textValue(rd.t), textValue(rd.rn), ta,
                textValue(rd.tb)};
    m_vu = textValue(rd.vu);
    m_pl = textValue(rd.pl).value_or(QString());
    m_form.setTerms({ta, textValue(rd.bl), amn});

    const bool isCardFixed = textValue(rd.ldc) == QStringLiteral("true");
    const std::vector<SavedCard> cards = SavedCard::fromList(m_pl);
    delegational()->setCards(cards);
    const SavedCard *chosen = SavedCard::defaultOf(cards);
    if (isCardFixed || chosen)
        m_form.setDefaultCard(chosen, isCardFixed);

    if (const auto wb = textValue(rd.wb); wb && *wb != QLatin1String("NA"))
        offerWallet(*wb);
    m_form.setSimple(integerValue(amn.value_or(QString())) < 2000000);
    m_form.setSimple(ta != QStringLiteral("NA"));
    Q_EMIT loaded();
    ProgressOverlay::dismiss();
}

void PaymentViewController::offerWallet(const QString &balance)
{
    const QString payByWallet = QStringLiteral("پرداخت با کیف پول");
    setFonts(m_walletAlert);
    m_walletAlert.addButton(payByWallet, [this] { payFromWallet(); });
    m_walletAlert.setCancelButton(QStringLiteral("پرداخت از کارت"), {});
    m_walletAlert.show(
        payByWallet,
        QStringLiteral("موجودی کیف پول شما: %1\n آیا تمایل به پرداخت مبلغ با کیف پول را دارید؟").arg(rials(balance)));
}

bool PaymentViewController::enter(PaymentEvent event)
{
    const auto next = phaseAfter(m_phase, event);
    m_phase = next.value_or(m_phase);
    return next.has_value();
}

void PaymentViewController::payFromWallet()
{
    if (!canPay())
        return;
    UserDefaults::standard().setString(QStringLiteral("crn"), m_form.cardNumber());
    m_isWallety = true;
    pay(m_detail.wallet());
}

void PaymentViewController::verifyPayment()
{
    if (!canPay())
        return;
    m_detail.pcc = UserDefaults::standard().string(QStringLiteral("pcc"));
    UserDefaults::standard().setString(QStringLiteral("crn"), m_form.cardNumber());
    if (!m_form.isComplete()) {
        showNotificationError(QStringLiteral("ورودی ها را بررسی کنید."));
        return;
    }
    const QString detail = m_form.isSimple()
                               ? m_detail.simple(m_form.card(), m_form.pin())
                               : m_detail.full(m_form.card(), m_form.pin(), m_form.cvv2(), m_form.expiration());
    m_form.clearSecrets();
    pay(detail);
}

void PaymentViewController::pay(const QString &detail)
{
    if (!enter(PaymentEvent::Pay))
        return;
    showHud(QStringLiteral("در حال بررسی پرداخت"));
    m_sender(detail, [screen = QPointer(this)](bool ok, const QString &message, const QString &code) {
        Dispatch::main([screen, ok, message, code] {
            if (screen)
                screen->receive(ok, message, code);
        });
    });
}

void PaymentViewController::receive(bool ok, const QString &message, const QString &code)
{
    if (!navigationController() || !enter(PaymentEvent::Answer))
        return;
    ReceiptInput input{
        .amn = m_amountText, .mrc = m_merchantText, .dsc = {}, .callbackCode = code, .callbackDescription = message};
    if (!ok)
        input.dsc = textValue(CoreFunctions().storedPaymentAnswer().value_or(BaseClassp()).ds).value_or(QString());
    m_timer.invalidate();
    m_leaveAlert.dismiss();
    if (auto receipt = ViewUtils::returnStoryboard().instantiateViewController(QStringLiteral("ReceiptView"),
                                                                               QVariant::fromValue(input)))
        navigationController()->push(std::move(receipt), true);
    ProgressOverlay::dismiss();
}

void PaymentViewController::timerFired()
{
    switch (m_countdown.fire()) {
    case Countdown::Tick::Shown:
        m_timeText = m_countdown.text();
        Q_EMIT ticked();
        break;
    case Countdown::Tick::Silent:
        break;
    case Countdown::Tick::Over:
        m_isTimeOver = true;
        Q_EMIT ticked();
        report(PaymentEvent::ReportTime, Outcomes::timeOver);
        break;
    }
}

void PaymentViewController::cancelPayment()
{
    report(PaymentEvent::ReportCancel, Outcomes::cancelled);
}

void PaymentViewController::escapePressed()
{
    // Not over a payment on its way: the cancel button is there, but nothing should lead to it.
    if (canPay())
        m_leaveAlert.show(QStringLiteral("انصراف از پرداخت"),
                          QStringLiteral("از این پرداخت منصرف می‌شوید؟"));
}

QString PaymentViewController::timeNotice() const
{
    if (m_isTimeOver)
        return Outcomes::timeOver.description.toString();
    return isLastMinute() ? QStringLiteral("کمتر از یک دقیقه تا پایان زمان پرداخت مانده است") : QString();
}

void PaymentViewController::openVerifyURL()
{
    if (m_vu) {
        if (navigationController())
            navigationController()->push(std::make_unique<VerificationViewController>(QUrl(*m_vu)), true);
        return;
    }
    if (!enter(PaymentEvent::FindNoLink))
        return;
    showNotificationError(QStringLiteral("پذیرنده نامعتبر میباشد"));
    Dispatch::mainAfter(2s, [screen = QPointer(this)] {
        if (screen)
            screen->report(PaymentEvent::ReportNoLink, Outcomes::invalidMerchant);
    });
}

// The screen goes first: a host that starts its next payment inside the callback finds the way free.
void PaymentViewController::report(PaymentEvent event, const Outcome &outcome)
{
    if (!enter(event))
        return;
    m_timer.invalidate();
    m_walletAlert.dismiss();
    m_leaveAlert.dismiss();
    m_form.clearSecrets();
    ProgressOverlay::dismiss();
    dismiss(true);
    HostProfile::shared().reportStatus(outcome);
}

void PaymentViewController::showPanList()
{
    m_form.textFieldDidEndEditing(CardForm::CardNumber);
    setPanListShown(true);
}

void PaymentViewController::showKeyboard()
{
    setPanListShown(false);
}

void PaymentViewController::setPanListShown(bool shown)
{
    m_isPanListShown = shown;
    Q_EMIT panListShownChanged();
}

void PaymentViewController::showNotificationError(const QString &message)
{
    banner()->show(message);
}

void PaymentViewController::showHud(const QString &status)
{
    ProgressOverlay::show(status, Bundle::sdk().urlForImage(QStringLiteral("kel.png")));
}

} // namespace kelpay

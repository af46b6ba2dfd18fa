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
#include "ui/components/Fonts.h"
#include "ui/components/NavigationController.h"
#include "ui/components/ProgressOverlay.h"
#include "ui/components/ReceiptInput.h"
#include "ui/components/Storyboard.h"

#include <QCoreApplication>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

using namespace std::chrono_literals;

const Storyboard::Scene scene(u"PaymentView"_s, [](const QVariant &input) {
    return std::make_unique<NavigationController>(
        std::make_unique<PaymentViewController>(input.value<std::shared_ptr<Attempt>>()));
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
    return Formats::groupedNumber(integerValue(amount.value_or(QString()))) + u" ریال"_s;
}

QFont fontOf(const QString &family)
{
    QFont font(family);
    font.setPixelSize(16);
    return font;
}

void setFonts(AlertView &alert)
{
    alert.titleFont = fontOf(Fonts::text());
    alert.messageFont = fontOf(Fonts::message());
    alert.buttonFont = alert.messageFont;
    alert.cancelButtonFont = alert.messageFont;
}

void sendThroughNetwork(const Bytes &detail, const std::shared_ptr<Attempt> &attempt,
                        CoreNetworking::ResponseBlock block)
{
    CoreNetworking::sendInBackground(attempt, &CoreNetworking::sendPaymentRequest, detail, std::move(block));
}

} // namespace

PaymentViewController::PaymentViewController(std::shared_ptr<Attempt> attempt, QObject *parent)
    : ViewController(QUrl(u"qrc:/qt/qml/KelPay/Payment/PaymentView.qml"_s), parent)
    , m_attempt(std::move(attempt))
    , m_sender(sendThroughNetwork)
    , m_timer(1000ms)
{
    connect(&m_timer, &Ticker::fired, this, &PaymentViewController::timerFired);
    connect(&m_form, &CardForm::notified, this, &PaymentViewController::showNotificationErrorWithMessage);
    m_leaveAlert.addButton(u"ادامه پرداخت"_s, {});
    m_leaveAlert.setCancelButton(u"بله، انصراف"_s, [this] { cancelPayment(); });
}

PaymentViewController::~PaymentViewController()
{
    m_form.clearSecrets();
    const bool isTold =
        m_phase == PaymentPhase::ReceiptOpen || m_phase == PaymentPhase::Kept || m_phase == PaymentPhase::Reported;
    if (m_attempt && !isTold) {
        m_attempt->withdraw();
        m_attempt->abandoned();
    }
}

void PaymentViewController::resume()
{
    // What is paid from here on is another payment.
    if (enter(PhaseEvent::CloseReceipt))
        m_attempt.reset();
}

void PaymentViewController::viewDidAppear()
{
    if (m_attempt && m_phase == PaymentPhase::Entering)
        m_attempt->screenShown();
}

void PaymentViewController::viewDidLoad()
{
    setFonts(m_leaveAlert);
    loadTokenData();
    connect(delegational(), &PickerViewDelegate::cardSet, &m_form, &CardForm::notifierFired);
    m_timer.start();
}

void PaymentViewController::rehearse()
{
    m_amountText = rials(u"1234567890"_s);
    m_merchantText = u"آابپتثجچحخدذرزژسشصضطظعغفقکگلمنوهی"_s;
    m_detailText = m_merchantText;
    m_timeText = u"9:59"_s;
}

void PaymentViewController::loadTokenData()
{
    ProgressOverlay::show();
    const BaseClass token = CoreFunctions().storedTokenAnswer().value_or(BaseClass());
    if (const auto requestData = textValue(token.ard.r))
        UserDefaults::standard().setInteger(u"ard"_s, integerValue(*requestData));

    const Rd &rd = token.rd;
    const auto amn = textValue(rd.amn);
    const auto ta = textValue(rd.ta);
    m_amountText = rials(amn);
    m_detailText = u' ' + Formats::shownText(textValue(rd.ttl).value_or(QString()));
    m_merchantText = u' ' + Formats::shownText(textValue(rd.mn).value_or(QString()));
    m_detail = {UserDefaults::standard().string(u"pcc"_s), textValue(rd.t), textValue(rd.rn), ta, textValue(rd.tb)};
    m_amn = amn.value_or(QString());
    if (m_attempt)
        m_attempt->setPurchase(m_amn, m_detail.t.value_or(QString()));
    m_vu = textValue(rd.vu);
    m_pl = textValue(rd.pl).value_or(QString());
    m_form.setTerms({ta, textValue(rd.bl), amn});

    const bool isCardFixed = textValue(rd.ldc) == u"true"_s;
    const std::vector<SavedCard> cards = SavedCard::fromList(m_pl);
    delegational()->setCards(cards);
    const SavedCard *chosen = SavedCard::defaultOf(cards);
    if (isCardFixed || chosen)
        m_form.setDefaultCard(chosen, isCardFixed);

    if (const auto wb = textValue(rd.wb); wb && *wb != "NA"_L1)
        offerWallet(*wb);
    m_form.setSimple(integerValue(amn.value_or(QString())) < 2000000);
    m_form.setSimple(ta != u"NA"_s);
    Q_EMIT loaded();
    ProgressOverlay::dismiss();
}

void PaymentViewController::offerWallet(const QString &balance)
{
    const QString payByWallet = u"پرداخت با کیف پول"_s;
    setFonts(m_walletAlert);
    m_walletAlert.startsAtCancel = true;
    m_walletAlert.addButton(payByWallet, [this] { payFromWallet(); });
    m_walletAlert.setCancelButton(u"پرداخت از کارت"_s, {});
    m_walletAlert.show(payByWallet,
                       u"موجودی کیف پول شما: %1\n آیا تمایل به پرداخت مبلغ با کیف پول را دارید؟"_s.arg(rials(balance)));
}

bool PaymentViewController::enter(PhaseEvent event)
{
    const auto next = phaseAfter(m_phase, event);
    m_phase = next.value_or(m_phase);
    return next.has_value();
}

/// False while another payment is under way, which only a screen that was kept can meet.
bool PaymentViewController::holdAttempt()
{
    if (!m_attempt) {
        m_attempt = Attempt::begin(UserDefaults::standard().string(u"rsn"_s).value_or(QString()));
        if (m_attempt)
            m_attempt->setPurchase(m_amn, m_detail.t.value_or(QString()));
    }
    return m_attempt != nullptr;
}

void PaymentViewController::payFromWallet()
{
    if (!canPay())
        return;
    UserDefaults::standard().setString(u"crn"_s, m_form.cardNumber());
    m_isWallety = true;
    pay(m_detail.wallet());
}

void PaymentViewController::verifyPayment()
{
    if (!canPay())
        return;
    m_detail.pcc = UserDefaults::standard().string(u"pcc"_s);
    UserDefaults::standard().setString(u"crn"_s, m_form.cardNumber());
    if (!m_form.isComplete()) {
        m_form.nameFault();
        showNotificationErrorWithMessage(u"ورودی ها را بررسی کنید."_s);
        return;
    }
    const Bytes detail = m_form.isSimple()
                             ? m_detail.simple(m_form.card(), m_form.pin())
                             : m_detail.full(m_form.card(), m_form.pin(), m_form.cvv2(), m_form.expiration());
    if (pay(detail))
        m_form.clearSecrets();
}

bool PaymentViewController::pay(const Bytes &detail)
{
    if (!holdAttempt()) {
        showNotificationErrorWithMessage(u"پرداخت دیگری در جریان است؛ پس از پایان آن دوباره بپردازید."_s);
        return false;
    }
    if (!enter(PhaseEvent::Pay))
        return false;
    showHUDWithString(u"در حال بررسی پرداخت"_s);
    m_attempt->submitted();
    m_attempt->setSilenceListener([screen = QPointer(this)](Attempt::Silence silence) {
        if (screen)
            screen->fallSilent(silence);
    });
    m_sender(detail, m_attempt, [screen = QPointer(this)](bool ok, const QString &message, const QString &code) {
        Dispatch::main([screen, ok, message, code] {
            if (screen)
                screen->receive(ok, message, code);
        });
    });
    return true;
}

void PaymentViewController::fallSilent(Attempt::Silence silence)
{
    if (silence == Attempt::Silence::Mistake) {
        if (enter(PhaseEvent::TakeBack))
            ProgressOverlay::dismiss();
    } else if (enter(PhaseEvent::FallSilent)) {
        ProgressOverlay::settle(silence == Attempt::Silence::Unsent
                                    ? u"پرداخت به سرویس پرداخت ارسال نشد.\nپرداختی انجام نشده است."_s
                                    : u"نتیجه پرداخت معلوم نیست.\n"
                                      u"پیش از پرداخت دوباره، از پذیرنده یا بانک خود بپرسید."_s);
    }
}

void PaymentViewController::receive(bool ok, const QString &message, const QString &code)
{
    if (!navigationController() || !enter(PhaseEvent::Answer))
        return;
    ReceiptInput input{.amn = m_amountText,
                       .mrc = m_merchantText,
                       .dsc = {},
                       .callbackCode = code,
                       .callbackDescription = message,
                       .attempt = m_attempt};
    if (!ok)
        input.dsc = textValue(CoreFunctions().storedPaymentAnswer().value_or(BaseClassp()).ds).value_or(QString());
    m_timer.invalidate();
    m_leaveAlert.dismiss();
    if (auto receipt =
            ViewUtils::returnStoryboard().instantiateViewController(u"ReceiptView"_s, QVariant::fromValue(input)))
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
        report(PhaseEvent::ReportTime, Outcomes::timeOver);
        break;
    }
}

void PaymentViewController::cancelPayment()
{
    report(PhaseEvent::ReportCancel, Outcomes::cancelled);
}

void PaymentViewController::escapePressed()
{
    // Not over a payment on its way: the cancel button is there, but nothing should lead to it.
    if (canPay())
        askToLeave();
}

void PaymentViewController::closeRequested()
{
    const bool isOnItsWay = m_phase == PaymentPhase::Paying || m_phase == PaymentPhase::Unknown;
    if (isOnItsWay || (canPay() && m_form.isTouched()))
        askToLeave();
    else
        cancelPayment();
}

void PaymentViewController::askToLeave()
{
    m_leaveAlert.show(u"انصراف از پرداخت"_s, canPay() ? u"از این پرداخت منصرف می‌شوید؟"_s
                                                      : u"نتیجه پرداخت معلوم نیست و ممکن است انجام شده باشد. خارج "
                                                        u"می‌شوید؟"_s);
}

QString PaymentViewController::timeNotice() const
{
    if (m_isTimeOver)
        return Outcomes::timeOver.description.toString();
    return isLastMinute() ? u"کمتر از یک دقیقه تا پایان زمان پرداخت مانده است"_s : QString();
}

void PaymentViewController::openVerifyURL()
{
    if (m_vu) {
        if (navigationController())
            navigationController()->push(std::make_unique<VerificationViewController>(QUrl(*m_vu)), true);
        return;
    }
    if (!enter(PhaseEvent::FindNoLink))
        return;
    showNotificationErrorWithMessage(u"پذیرنده نامعتبر میباشد"_s);
    Dispatch::mainAfter(2s, [screen = QPointer(this)] {
        if (screen)
            screen->report(PhaseEvent::ReportNoLink, Outcomes::invalidMerchant);
    });
}

// The screen goes first: a host that starts its next payment inside the callback finds the way free.
void PaymentViewController::report(PhaseEvent event, const Outcome &outcome)
{
    if (!enter(event))
        return;
    m_timer.invalidate();
    m_walletAlert.dismiss();
    m_leaveAlert.dismiss();
    m_form.clearSecrets();
    ProgressOverlay::dismiss();
    dismiss(true);
    const auto attempt = m_attempt;
    if (attempt) {
        attempt->withdraw();
        attempt->end();
    }
    // From the event loop: whoever pressed something still stands on the stack, and a host may open a dialog.
    Dispatch::main([attempt, outcome, report = HostProfile::shared().reporter()] {
        const QString code = outcome.code.toString();
        if (report(false, code, outcome.description.toString(), {}, {}) && attempt)
            Dispatch::global(Dispatch::Priority::High, [attempt, code] { attempt->reported(code, false); });
    });
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

void PaymentViewController::showNotificationErrorWithMessage(const QString &message)
{
    banner()->show(message);
}

void PaymentViewController::showHUDWithString(const QString &status)
{
    ProgressOverlay::show(status, Bundle::sdk().urlForImage(u"kel.png"_s));
}

} // namespace kelpay

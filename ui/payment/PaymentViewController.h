#pragma once

#include "CardForm.h"
#include "Countdown.h"
#include "PaymentDetail.h"
#include "PaymentPhase.h"
#include "PickerViewDelegate.h"
#include "device/Outcomes.h"
#include "platform/Ticker.h"
#include "protocol/CoreNetworking.h"
#include "ui/components/AlertView.h"
#include "ui/components/ViewController.h"

#include <functional>

namespace kelpay {

using namespace Qt::StringLiterals;

/// The payment screen: what is paid to whom, the card form, the wallet offer, the ten minutes. It ends with a receipt,
/// or without one and then reports once: cancelled, out of time, no verification link. Main queue.
class PaymentViewController : public ViewController
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the storyboard")
    Q_PROPERTY(kelpay::CardForm *form READ form CONSTANT)
    Q_PROPERTY(kelpay::AlertView *walletAlert READ walletAlert CONSTANT)
    Q_PROPERTY(kelpay::AlertView *leaveAlert READ leaveAlert CONSTANT)
    Q_PROPERTY(kelpay::PickerViewDelegate *delegational READ delegational CONSTANT)
    Q_PROPERTY(QString amountText READ amountText NOTIFY loaded)
    Q_PROPERTY(QString merchantText READ merchantText NOTIFY loaded)
    Q_PROPERTY(QString detailText READ detailText NOTIFY loaded)
    Q_PROPERTY(bool hasSavedCards READ hasSavedCards NOTIFY loaded)
    Q_PROPERTY(QString timeText READ timeText NOTIFY ticked)
    Q_PROPERTY(bool isLastMinute READ isLastMinute NOTIFY ticked)
    /// What a screen reader is told of the time.
    Q_PROPERTY(QString timeNotice READ timeNotice NOTIFY ticked)
    Q_PROPERTY(bool isPanListShown READ isPanListShown NOTIFY panListShownChanged)

public:
    /// Starts a payment exchange with a detail string; its outcome comes to the block, on any thread, at most once.
    using PaymentSender = std::function<void(const Bytes &detail, const std::shared_ptr<Attempt> &attempt,
                                             CoreNetworking::ResponseBlock block)>;

    /// `attempt` is what the screen is shown for; without one it begins one of its own when it pays.
    explicit PaymentViewController(std::shared_ptr<Attempt> attempt = {}, QObject *parent = nullptr);
    ~PaymentViewController() override;

    void setPaymentSender(PaymentSender sender) { m_sender = std::move(sender); }

    void viewDidLoad() override;
    void rehearse() override;
    QString title() const override { return u"پرداخت"_s; }
    QString barButtonText() const override { return u"انصراف"_s; }
    QString barButtonName() const override { return u"cancelButton"_s; }
    void barButtonPressed() override { cancelPayment(); }
    void viewDidAppear() override;
    /// Asks before it cancels; the cancel button does not.
    void escapePressed() override;
    /// Asks where something would be lost.
    void closeRequested() override;
    void resume() override;

    /// The pay button.
    Q_INVOKABLE void verifyPayment();
    Q_INVOKABLE void cancelPayment();
    Q_INVOKABLE void openVerifyURL();
    /// Between the saved cards and the keyboard as the card number's input.
    Q_INVOKABLE void showPanList();
    Q_INVOKABLE void showKeyboard();
    void timerFired();

    CardForm *form() { return &m_form; }
    AlertView *walletAlert() { return &m_walletAlert; }
    AlertView *leaveAlert() { return &m_leaveAlert; }
    PickerViewDelegate *delegational() const { return &PickerViewDelegate::sharedInstance(); }
    QString amountText() const { return m_amountText; }
    QString merchantText() const { return m_merchantText; }
    QString detailText() const { return m_detailText; }
    bool hasSavedCards() const { return !m_pl.isEmpty(); }
    QString timeText() const { return m_timeText; }
    bool isLastMinute() const { return m_countdown.minute() < 1; }
    QString timeNotice() const;
    bool isPanListShown() const { return m_isPanListShown; }
    // What the token answer said.
    const std::optional<QString> &t() const { return m_detail.t; }
    const std::optional<QString> &ta() const { return m_detail.ta; }
    const std::optional<QString> &tb() const { return m_detail.tb; }
    const std::optional<QString> &rn() const { return m_detail.rn; }
    const std::optional<QString> &vu() const { return m_vu; }
    const QString &pl() const { return m_pl; }
    const QString &amn() const { return m_amn; }
    // The ten minutes.
    const Ticker &timer() const { return m_timer; }
    int currMinute() const { return m_countdown.minute(); }
    int currSeconds() const { return m_countdown.seconds(); }
    /// A payment is on its way.
    bool isButtonedOrNeah() const { return m_phase == PaymentPhase::Paying; }
    bool isWallety() const { return m_isWallety; }
    bool isOverhauled() { return banner()->isAnimating(); }

Q_SIGNALS:
    void loaded();
    void ticked();
    void panListShownChanged();

private:
    void loadTokenData();
    void offerWallet(const QString &balance);
    void payFromWallet();
    bool enter(PhaseEvent event);
    void askToLeave();
    bool holdAttempt();
    bool canPay() const { return phaseAfter(m_phase, PhaseEvent::Pay).has_value(); }
    bool pay(const Bytes &detail);
    void receive(bool ok, const QString &message, const QString &code);
    void fallSilent(Attempt::Silence silence);
    void report(PhaseEvent event, const Outcome &outcome);
    void showNotificationErrorWithMessage(const QString &message);
    void showHUDWithString(const QString &status);
    void setPanListShown(bool shown);

    std::shared_ptr<Attempt> m_attempt;
    PaymentSender m_sender;
    CardForm m_form;
    AlertView m_walletAlert;
    AlertView m_leaveAlert;
    Ticker m_timer;
    Countdown m_countdown;
    PaymentDetail m_detail;
    std::optional<QString> m_vu;
    QString m_pl;
    QString m_amn;
    QString m_amountText;
    QString m_merchantText;
    QString m_detailText;
    QString m_timeText;
    PaymentPhase m_phase = PaymentPhase::Entering;
    bool m_isWallety = false;
    bool m_isPanListShown = false;
    bool m_isTimeOver = false;
};

} // namespace kelpay

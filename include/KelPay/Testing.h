#pragma once

#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <chrono>
#include <functional>
#include <memory>
#include <vector>

/// For a host's own tests, against a sandbox build: a payer who uses the real screens, and the payment service. Link
/// KelPay::Testing; docs/testing.md has a whole test and how CI runs it. Main thread only; nothing throws.
namespace kelpay::testing {

/// Somebody who pays, with the events that a mouse or a keyboard makes, in whichever window of this process a screen
/// stands. Each call waits until what it needs can be seen and stands still, and runs the event loop meanwhile. It
/// gives false when it gives up, and problem() then says what it waited for.
class Payer
{
public:
    /// What the payer can use, for a person who can do nothing else. OnScreenKeyboard is a pointer and the keys of Qt's
    /// own keyboard, which QT_IM_MODULE must name.
    enum class Means { Pointer, Touch, Keyboard, ScreenReader, OnScreenKeyboard };
    explicit Payer(Means means = Means::Pointer); ///< Pays with these means.
    ~Payer();
    Payer(const Payer &) = delete;
    Payer &operator=(const Payer &) = delete;

    /// How long each call waits; 20 seconds unless told.
    void setPatience(std::chrono::milliseconds patience);
    /// Asked while a call waits: true makes it give up at once.
    void setGivesUpWhen(std::function<bool()> condition);
    /// What the last call that failed waited for; "" when none did.
    QString problem() const;

    /// What is entered where the form asks for it.
    struct Card
    {
        QString number = {}; ///< Sixteen digits.
        QString pin = {};    ///< Its PIN.
        QString cvv2 = {};   ///< "" where the form doesn't ask.
        QString expiry = {}; ///< "YY/MM"
    };
    /// Each waits for the payment screen, declines a wallet that is offered, fills in the form and submits it.
    bool pay(const QString &card, const QString &pin);
    /// A form that asks for CVV2 and expiry as well.
    bool pay(const Card &card);
    /// With the card of this row of the picker, whose heading is row 0; what `rest` has is entered beside it.
    bool payWithSavedCard(int row, const Card &rest);
    /// Takes the wallet's offer.
    bool payWithWallet();
    /// Touches the merchant's verification link and comes back from its page; false where there is no link.
    bool verify();
    /// Leaves the payment screen with its cancel button.
    bool cancel();
    /// Leaves the payment alone until its time has run out; KelPaySandbox.h's setClockRate(), called before the payment
    /// starts, makes that short.
    bool expire();
    /// Waits for the receipt and closes it.
    bool closeReceipt();

    /// Waits for the payment screen, a wallet that is offered declined.
    bool waitForPaymentScreen();
    /// Presses an item of the host's own screens, by its objectName; `picture` names the screenshot before.
    bool press(const QString &objectName, const QString &picture = {});

    /// Saves what the window shows.
    bool screenshot(const QString &path);
    /// From now on saves each screen that the payer comes to in `folder`, numbered; "" for none.
    void setScreenshots(const QString &folder);
    /// Saves one more of these; nothing without a folder.
    void shoot(const QString &name);

private:
    class Hands;
    std::unique_ptr<Hands> m_hands;
};

/// One exchange that the service had; docs/sandbox.md explains the journal.
struct Exchange
{
    /// "token", "payment", "unreadable", "list", "ip", "verify", …
    QString kind;
    /// HTTP status; 0 where no answer was sent.
    int status = 0;
    /// What the request breaks; "" for nothing.
    QString violation;
    /// The opened request, secrets masked.
    QJsonObject request;
    /// The whole line.
    QJsonObject line;
};

/// A kelpay-sandbox of one's own on a free loopback address, with an identity that this process made. While it lives,
/// the payments of this process go there. One at a time.
class Sandbox
{
public:
    /// Starts the kelpay-sandbox that PATH finds; KELPAY_SANDBOX_PROGRAM names another. `arguments` are
    /// kelpay-sandbox's own, beside those for address, identity and journal.
    explicit Sandbox(const QStringList &arguments = {});
    /// Stops the service.
    ~Sandbox();
    Sandbox(const Sandbox &) = delete;
    Sandbox &operator=(const Sandbox &) = delete;

    /// Whether it serves; else problem() says why not.
    bool isRunning() const;
    QString problem() const; ///< See isRunning().
    /// The address that it listens on, "127.0.0.20" say.
    QString host() const;
    /// What arrived so far; of one kind only where one is named.
    std::vector<Exchange> exchanges(const QString &kind = {}) const;

private:
    class Service;
    std::unique_ptr<Service> m_service;
};

} // namespace kelpay::testing

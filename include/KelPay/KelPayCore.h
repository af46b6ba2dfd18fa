#pragma once

#include "PaymentEvent.h"

#include <QString>
#include <QVariant>
#include <QtGlobal>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#if defined(KELPAY_BUILD)
#define KELPAY_EXPORT Q_DECL_EXPORT
#else
#define KELPAY_EXPORT Q_DECL_IMPORT
#endif

QT_BEGIN_NAMESPACE
class QObject;
QT_END_NAMESPACE

namespace kelpay {

class HostProfile;
class Payment;

/// The only class that a host calls: takes a card payment, and fetches the two product lists.
///
/// Call it on the application's main thread unless a method says otherwise. Start payments on sharedInstance(): the
/// screens report to that instance. One payment at a time. Nothing throws.
///
///     KelPayCore::initWithMerchantID("1234");
///     KelPayCore::sharedInstance().startPaymentWithMSISDN("09123456789", "order 17", "7|150000|Books",
///         [](bool success, const QString &code, const QString &description,
///            const QString &reference, const QString &merchantReference) { ... });
class KELPAY_EXPORT KelPayCore
{
public:
    // clang-format off
    /// One call for each outcome:
    ///
    /// | success | code          | description                      | references                    | when                                            |
    /// |---------|---------------|----------------------------------|-------------------------------|-------------------------------------------------|
    /// | true    | "1"           | "Successful"                     | tracking and reference number | receipt closed after a payment                  |
    /// | false   | the service's | the service's                    | ""                            | receipt closed after a refusal; token refused   |
    /// | false   | "2525342"     | "کاربر از انجام تراکنش منصرف شد" | ""                            | cancelled by the payer                          |
    /// | false   | "2525343"     | "مدت زمان تراکنش به پایان رسید"  | ""                            | the ten minutes ran out                         |
    /// | false   | "2525344"     | "پذیرنده نامعتبر"                | ""                            | merchant has no verification link               |
    /// | false   | "2525345"     | "خطا در ارتباط با سرور"          | ""                            | token request answered with an HTTP error       |
    /// | false   | "0"           | ""                               | ""                            | receipt closed; the answer could not be opened, or confirmed nothing: **not a refusal**, the money may have moved |
    ///
    // clang-format on
    /// It may run on any thread, so hop to the main one before touching a window. There is no call where nothing is
    /// known: after a transport error, a payment answered with an HTTP error, or on a simulated device; and none after
    /// the application was about to quit. For the merchants 3014, 3037 to 3040, 3078, 3086 and 3087 the payment screen
    /// stays after the receipt: what it reports later is about what was done there since.
    ///
    /// When the payer cancels, or the time runs out, while a payment is on its way, money may have moved.
    /// unsettledAttempts() lists every payment of which that is so; docs/outcomes.md says what to do with each outcome.
    using StatusCallback = std::function<void(bool success, const QString &code, const QString &description,
                                              const QString &reference, const QString &merchantReference)>;

    /// (true, the service's JSON as a map or a list; an invalid variant when it was neither), or
    /// (false, an empty map) when nothing came.
    using ListCallback = std::function<void(bool ok, const QVariant &list)>;

    using Block = std::function<void()>; ///< Of responseBlock().

    /// The process-wide instance, made on first use. Any thread.
    static KelPayCore &sharedInstance();

    /// The library's version, "1.0.0" say; of what runs, not of what was compiled against. Any thread.
    static QString version();

    /// Remembers the merchant identifier, for this and later runs of the application. Gives an instance of its own, not
    /// the shared one; the lasting effect is the stored identifier, so the result may be dropped.
    static std::unique_ptr<KelPayCore> initWithMerchantID(const QString &merchantID);

    /// Forgets all saved card data that this application's keychain may hold. Any thread.
    static void clearKeys();

    /// Told of every step of a payment, on the main thread, in order, beside the status callback. Of the process.
    using Observer = std::function<void(const PaymentEvent &event)>;
    static void setObserver(Observer observer); ///< Replaces the former one; an empty one ends it.

    /// The payments whose request may have left while no outcome that holds was told: after a crash, a power cut, a
    /// cancel on the way, an answer that could not be opened or confirmed nothing. Ask the service about each, then
    /// settle it, but not while isBusy(): its request may still arrive. A payment whose outcome is still to be told is
    /// left out, unless it is another process's. Reads a file; any thread.
    static std::vector<UnsettledAttempt> unsettledAttempts();
    /// The host knows what became of it; it is listed no more. False where there is none of this identifier. Any
    /// thread.
    static bool settleAttempt(const QString &identifier);

    /// What happens on a mistake of the host's code that leaves the SDK without something it must have, such as a
    /// payment started without a merchant identifier. By default the message is logged and the process ends. A handler
    /// that returns makes the failed call do nothing: nothing is sent, nothing is called. Null restores the default.
    /// Any thread.
    using ProgrammingErrorHandler = void (*)(const QString &message);
    static void setProgrammingErrorHandler(ProgrammingErrorHandler handler); ///< See ProgrammingErrorHandler.

    /// Registers the bundled font file "<name>.ttf" for this process, under its own families and `name`; does nothing
    /// when there is none. The screens' own are registered when a payment starts. Needs a QGuiApplication; main thread.
    static void loadFontWithName(const QString &name);

    KelPayCore();
    ~KelPayCore();
    KelPayCore(const KelPayCore &) = delete;
    KelPayCore &operator=(const KelPayCore &) = delete;

    /// Starts a payment and returns at once. Shows its own progress, payment and receipt screens over the host's active
    /// window; needs a QGuiApplication. Refused, with a log line and an event, off the main thread and while another
    /// payment of this application is under way, in this process or another. The three texts travel as they are; "||"
    /// inside one shifts the others.
    /// \param msisdn         the payer's mobile number, "09…"
    /// \param additionalData the host's own text
    /// \param paymentParams  the service's parameters, pieces separated by "|", the first being the payment's code
    /// \param completion     gets the outcome; an empty one keeps the one given before
    void startPaymentWithMSISDN(const QString &msisdn, const QString &additionalData, const QString &paymentParams,
                                StatusCallback completion);

    /// A payment is under way in this process: another is refused. It is over when its outcome was told and its
    /// request, if one is on its way, has ended.
    bool isBusy() const;

    /// Takes the SDK's screens and overlay away. The status callback is not called; what was not sent is withdrawn, and
    /// what may have been sent is told to the observer and listed by unsettledAttempts().
    void abandon();

    /// Fetches the list of internet packages. Blocks, then calls `completion` once, on the calling thread. Any thread;
    /// needs no screen. A service that can't be reached is given up after 60 seconds, one that falls silent 60 seconds
    /// after its last byte: on a dead network it takes two minutes at most. Bytes that trickle end after ten minutes.
    void getInternetListWithCompletion(const ListCallback &completion);
    /// Without blocking: returns at once, and calls `completion` once from the event loop of the calling thread, which
    /// must be that of `context`; not once `context` was destroyed or the application was about to quit.
    void getInternetListWithCompletion(QObject *context, ListCallback completion);
    ///@{
    /// The same two for the list of charge products.
    void getChargeListWithCompletion(const ListCallback &completion);
    void getChargeListWithCompletion(QObject *context, ListCallback completion);
    ///@}

    // Settings of this instance; payments read those of sharedInstance() alone. Any thread.

    ///@{
    /// Sends a wallet application's identifier instead of the host's own.
    bool ziaprod() const;
    void setZiaprod(bool ziaprod);
    ///@}
    ///@{
    /// An application identifier of the host's choice; any non-empty text blanks the identifier that is sent.
    QString bid() const;
    void setBid(const QString &bid);
    ///@}
    ///@{
    /// A text of the host's own; nothing here reads it.
    QString log() const;
    void setLog(const QString &log);
    ///@}
    ///@{
    /// The callback in force.
    StatusCallback paymentStatusBlock() const;
    void setPaymentStatusBlock(StatusCallback block);
    ///@}
    ///@{
    /// A callback of the host's own; nothing here calls it.
    Block responseBlock() const;
    void setResponseBlock(Block block);
    ///@}

private:
    explicit KelPayCore(std::shared_ptr<HostProfile> profile);
    friend class Payment;
    void start(const std::optional<QString> &merchantID, const QString &msisdn, const QString &additionalData,
               const QString &paymentParams, StatusCallback completion);
    void warnUnlessShared(const char *setting) const;

    std::shared_ptr<HostProfile> m_profile;
};

} // namespace kelpay

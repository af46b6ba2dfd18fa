#pragma once

#include <QString>
#include <QVariant>
#include <QtGlobal>

#include <functional>
#include <memory>

#if defined(KELPAY_BUILD)
#define KELPAY_EXPORT Q_DECL_EXPORT
#else
#define KELPAY_EXPORT Q_DECL_IMPORT
#endif

namespace kelpay {

class HostProfile;

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
    ///
    // clang-format on
    /// It may run on any thread, so hop to the main one before touching a window. There is no call where nothing is
    /// known: after a transport error, a payment answered with an HTTP error, or on a simulated device. When the payer
    /// cancels, or the time runs out, while a payment is on its way, money may have moved: ask the service.
    using StatusCallback = std::function<void(bool success, const QString &code, const QString &description,
                                              const QString &reference, const QString &merchantReference)>;

    /// (true, the service's JSON as a map or a list; an invalid variant when it was neither), or
    /// (false, an empty map) when nothing came.
    using ListCallback = std::function<void(bool ok, const QVariant &list)>;

    using Block = std::function<void()>;

    /// The process-wide instance, made on first use. Any thread.
    static KelPayCore &sharedInstance();

    /// Remembers the merchant identifier, for this and later runs of the application. Gives an instance of its own, not
    /// the shared one; the lasting effect is the stored identifier, so the result may be dropped.
    static std::unique_ptr<KelPayCore> initWithMerchantID(const QString &merchantID);

    /// Forgets all saved card data that this application's keychain may hold. Any thread.
    static void clearKeys();

    /// What happens on a mistake of the host's code that leaves the SDK without something it must have, such as a
    /// payment started without a merchant identifier. By default the message is logged and the process ends. A handler
    /// that returns makes the failed call do nothing: nothing is sent, nothing is called. Null restores the default.
    /// Any thread.
    using ProgrammingErrorHandler = void (*)(const QString &message);
    static void setProgrammingErrorHandler(ProgrammingErrorHandler handler);

    /// Registers the bundled font file "<name>.ttf" for this process; does nothing when there is none. Needs a
    /// QGuiApplication.
    static void loadFontWithName(const QString &name);

    KelPayCore();
    ~KelPayCore();
    KelPayCore(const KelPayCore &) = delete;
    KelPayCore &operator=(const KelPayCore &) = delete;

    /// Starts a payment and returns at once. Shows its own progress, payment and receipt screens over the host's active
    /// window; needs a QGuiApplication. The three texts travel as they are; "||" inside one shifts the others.
    /// \param msisdn         the payer's mobile number, "09…"
    /// \param additionalData the host's own text
    /// \param paymentParams  the service's parameters, pieces separated by "|", the first being the payment's code
    /// \param completion     gets the outcome; an empty one keeps the one given before
    void startPaymentWithMSISDN(const QString &msisdn, const QString &additionalData, const QString &paymentParams,
                                StatusCallback completion);

    /// Fetches the list of internet packages. Blocks, then calls `completion` once, on the calling thread. Any thread;
    /// needs no screen.
    void getInternetListWithCompletion(const ListCallback &completion);
    /// The same for the list of charge products.
    void getChargeListWithCompletion(const ListCallback &completion);

    // Settings of this instance. Any thread.

    /// Sends a wallet application's identifier instead of the host's own.
    bool ziaprod() const;
    void setZiaprod(bool ziaprod);
    /// An application identifier of the host's choice; any non-empty text blanks the identifier that is sent.
    QString bid() const;
    void setBid(const QString &bid);
    /// A text of the host's own; nothing here reads it.
    QString log() const;
    void setLog(const QString &log);
    /// The callback in force.
    StatusCallback paymentStatusBlock() const;
    void setPaymentStatusBlock(StatusCallback block);
    /// A callback of the host's own; nothing here calls it.
    Block responseBlock() const;
    void setResponseBlock(Block block);

private:
    explicit KelPayCore(std::shared_ptr<HostProfile> profile);

    std::shared_ptr<HostProfile> m_profile;
};

} // namespace kelpay

#include "Payment.h"

#include "device/HostProfile.h"
#include "platform/Dispatch.h"
#include "platform/Log.h"
#include <KelPay/KelPayCore.h>

#include <QMetaMethod>
#include <QPointer>

#include <array>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

QString nameOf(PaymentEvent::Kind kind)
{
    static constexpr std::array names{u"Started",   u"Refused",        u"TokenAsked", u"ScreenShown",
                                      u"Submitted", u"TransportError", u"Answered",   u"AnswerUnreadable",
                                      u"Withdrawn", u"Reported",       u"Abandoned",  u"Ended"};
    return QString::fromUtf16(names[static_cast<std::size_t>(kind)]);
}

/// The items that handle a programming error, until they end: disconnectNotify may not ask Qt who is connected, because
/// a receiver that ends may hold the lock. The main thread's.
QList<Payment *> &listeners()
{
    static QList<Payment *> items;
    return items;
}

void tellListeners(const QString &message)
{
    Dispatch::main([message] {
        const auto items = listeners();
        for (Payment *item : items)
            Q_EMIT item->programmingError(message);
    });
}

} // namespace

Payment::Payment(QObject *parent) : QObject(parent)
{
    HostProfile::shared().addObserver(this, [this](const PaymentEvent &event) {
        Q_EMIT stepped(nameOf(event.kind), event.attempt, event.isPayment, event.mayHaveMoved, event.code);
        Q_EMIT busyChanged();
    });
}

Payment::~Payment()
{
    stopListening();
}

void Payment::connectNotify(const QMetaMethod &signal)
{
    if (signal != QMetaMethod::fromSignal(&Payment::programmingError) || listeners().contains(this))
        return;
    listeners().append(this);
    kelpay::setProgrammingErrorHandler(tellListeners);
}

void Payment::stopListening()
{
    if (listeners().removeOne(this) && listeners().isEmpty())
        kelpay::setProgrammingErrorHandler(nullptr);
}

bool Payment::isBusy() const
{
    return KelPayCore::sharedInstance().isBusy();
}

void Payment::abandon()
{
    KelPayCore::sharedInstance().abandon();
}

void Payment::fetchInternetList()
{
    KelPayCore::sharedInstance().getInternetListWithCompletion(
        this, [this](bool ok, const QVariant &list) { Q_EMIT internetList(ok, list); });
}

void Payment::fetchChargeList()
{
    KelPayCore::sharedInstance().getChargeListWithCompletion(
        this, [this](bool ok, const QVariant &list) { Q_EMIT chargeList(ok, list); });
}

QVariantList Payment::unsettledAttempts() const
{
    QVariantList list;
    for (const UnsettledAttempt &attempt : KelPayCore::unsettledAttempts())
        list.append(QVariantMap{{u"identifier"_s, attempt.identifier},
                                {u"merchantID"_s, attempt.merchantID},
                                {u"additionalData"_s, attempt.additionalData},
                                {u"amount"_s, attempt.amount},
                                {u"tokenHash"_s, attempt.tokenHash},
                                {u"begun"_s, attempt.begun},
                                {u"sent"_s, attempt.sent},
                                {u"answered"_s, attempt.answered},
                                {u"code"_s, attempt.code},
                                {u"reportedCode"_s, attempt.reportedCode}});
    return list;
}

bool Payment::settleAttempt(const QString &identifier)
{
    return KelPayCore::settleAttempt(identifier);
}

void Payment::start(const QString &msisdn, const QString &additionalData, const QString &paymentParams)
{
    if (m_merchantId.isEmpty()) {
        kelpay::programmingError(u"a payment needs a merchant: set merchantId before starting one"_s);
        return;
    }
    KelPayCore::sharedInstance().start(
        m_merchantId, msisdn, additionalData, paymentParams,
        [self = QPointer(this)](bool success, const QString &code, const QString &description, const QString &reference,
                                const QString &merchantReference) {
            // What returns counts as told, so it is told by then.
            Dispatch::mainAndWait([=] {
                if (self)
                    Q_EMIT self->finished(success, code, description, reference, merchantReference);
            });
        });
}

} // namespace kelpay

#include "Payment.h"

#include "device/HostProfile.h"
#include "platform/Dispatch.h"
#include "platform/Log.h"
#include <KelPay/KelPayCore.h>

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

} // namespace

Payment::Payment(QObject *parent) : QObject(parent)
{
    HostProfile::shared().addObserver(this, [this](const PaymentEvent &event) {
        Q_EMIT stepped(nameOf(event.kind), event.attempt, event.isPayment, event.mayHaveMoved, event.code);
        Q_EMIT busyChanged();
    });
}

bool Payment::isBusy() const
{
    return KelPayCore::sharedInstance().isBusy();
}

void Payment::abandon()
{
    KelPayCore::sharedInstance().abandon();
}

void Payment::start(const QString &msisdn, const QString &additionalData, const QString &paymentParams)
{
    if (m_merchantId.isEmpty()) {
        programmingError(u"a payment needs a merchant: set merchantId before starting one"_s);
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

#include "Payment.h"

#include "KelPay/KelPayCore.h"
#include "platform/Dispatch.h"

#include <QPointer>

namespace kelpay {

void Payment::setMerchantId(const QString &merchantId)
{
    if (merchantId == m_merchantId)
        return;
    m_merchantId = merchantId;
    KelPayCore::initWithMerchantID(merchantId);
    Q_EMIT merchantIdChanged();
}

void Payment::start(const QString &msisdn, const QString &additionalData, const QString &paymentParams)
{
    KelPayCore::sharedInstance().startPaymentWithMSISDN(
        msisdn, additionalData, paymentParams,
        [self = QPointer(this)](bool success, const QString &code, const QString &description, const QString &reference,
                                const QString &merchantReference) {
            Dispatch::main([=] {
                if (self)
                    Q_EMIT self->finished(success, code, description, reference, merchantReference);
            });
        });
}

} // namespace kelpay

#include "Exhibits.h"

#include "device/cards/SavedCard.h"

namespace kelpay {

Exhibits::Exhibits()
{
    for (QFont *font : {&m_alert.titleFont, &m_alert.messageFont, &m_alert.buttonFont, &m_alert.cancelButtonFont}) {
        font->setFamily(QStringLiteral("IRANSansFaNum-Medium"));
        font->setPixelSize(16);
    }
    m_alert.addButton(QStringLiteral("پرداخت با کیف پول"), {});
    m_alert.setCancelButton(QStringLiteral("پرداخت از کارت"), {});
    m_alert.show(QStringLiteral("پرداخت با کیف پول"),
                 QStringLiteral("موجودی کیف پول شما: 5,400,000 ریال\n آیا تمایل به پرداخت مبلغ با کیف پول را دارید؟"));
    cards()->setCards(SavedCard::fromList(
        QStringLiteral("1.n.603799******7893.0402;2.n.621986******1046.;3.n.627412******5502.0511;")));
}

} // namespace kelpay

#include "Exhibits.h"

#include "device/cards/SavedCard.h"
#include "ui/components/Fonts.h"

namespace kelpay {

using namespace Qt::StringLiterals;

Exhibits::Exhibits()
{
    for (QFont *font : {&m_alert.titleFont, &m_alert.messageFont, &m_alert.buttonFont, &m_alert.cancelButtonFont}) {
        font->setFamily(Fonts::text());
        font->setPixelSize(16);
    }
    m_alert.addButton(u"پرداخت با کیف پول"_s, {});
    m_alert.setCancelButton(u"پرداخت از کارت"_s, {});
    m_alert.show(u"پرداخت با کیف پول"_s,
                 u"موجودی کیف پول شما: 5,400,000 ریال\n آیا تمایل به پرداخت مبلغ با کیف پول را دارید؟"_s);
    cards()->setCards(
        SavedCard::fromList(u"1.n.603799******7893.0402;2.n.621986******1046.;3.n.627412******5502.0511;"_s));
}

} // namespace kelpay

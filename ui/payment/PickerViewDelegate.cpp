#include "PickerViewDelegate.h"

#include "device/cards/Bank.h"
#include "device/cards/CardNumber.h"
#include "platform/Bundle.h"

namespace kelpay {

using namespace Qt::StringLiterals;

PickerViewDelegate &PickerViewDelegate::sharedInstance()
{
    static PickerViewDelegate delegate;
    return delegate;
}

PickerViewDelegate::PickerViewDelegate()
{
    setCards({});
}

void PickerViewDelegate::setCards(const std::vector<SavedCard> &cards)
{
    m_panArray = {u"انتخاب شماره کارت"_s};
    m_panIdArray = {u"Nil"_s};
    m_panExpArray = {u"Nil"_s};
    for (const SavedCard &card : cards) {
        m_panArray.append(card.pan);
        m_panIdArray.append(card.panID);
        m_panExpArray.append(card.expiry);
    }
    Q_EMIT rowsChanged();
}

QString PickerViewDelegate::bankName(const QString &pan) const
{
    return Bank::issuerOf(pan).name;
}

QString PickerViewDelegate::shownPan(const QString &pan) const
{
    return CardNumber::masked(pan);
}

QUrl PickerViewDelegate::bankLogo(const QString &pan) const
{
    return QUrl(Bundle::sdk().urlForImage(Bank::issuerOf(pan).logo));
}

void PickerViewDelegate::didSelectRow(int row)
{
    if (row > 0 && row < m_panArray.size())
        Q_EMIT cardSet(m_panIdArray[row], m_panArray[row], SavedCard::slashed(m_panExpArray[row]));
}

} // namespace kelpay

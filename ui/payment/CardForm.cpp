#include "CardForm.h"

#include "SavedCard.h"
#include "device/CoreFunctions.h"
#include "platform/Bundle.h"
#include "platform/Log.h"

#include <algorithm>
#include <stdexcept>

namespace kelpay {

namespace {

bool isDigits(const QString &text)
{
    return std::all_of(text.begin(), text.end(),
                       [](QChar character) { return character >= u'0' && character <= u'9'; });
}

bool isMasked(const QString &cardNumber)
{
    return cardNumber.contains(QLatin1String("***"));
}

QString logoFile(const QString &cardNumber)
{
    return cardNumber.left(6) + QStringLiteral(".png");
}

} // namespace

void CardForm::setTerms(const Terms &terms)
{
    m_terms = terms;
}

void CardForm::setDefaultCard(const SavedCard *card, bool isFixed)
{
    m_isSettledDown = card != nullptr;
    if (card)
        m_panID = card->panID;
    m_isCardNumberEnabled = !isFixed;
    if (isFixed) {
        const QString pan = card ? card->pan : QString();
        setCardNumber(pan);
        // This one logo is the host's to give.
        m_bankIcon = QUrl(Bundle::main().urlForImage(logoFile(QString(pan).remove(QLatin1Char('-')))));
        m_bankName = CoreFunctions().bankName(QString(pan).remove(QLatin1Char('-')));
    }
    Q_EMIT cardChanged();
}

bool CardForm::shouldChangeCharacters(Field field, qsizetype, qsizetype length, const QString &replacement)
{
    return accepts(field, {text(field), length, replacement});
}

bool CardForm::acceptsText(Field field, const QString &text)
{
    const QString before = this->text(field);
    if (text == before)
        return true;
    if (field == CardNumber && isMasked(before) && !text.isEmpty() && isDigits(text))
        return accepts(field, {before, before.size(), {}}) && accepts(field, {{}, 0, text});

    const qsizetype shorter = std::min(before.size(), text.size());
    const qsizetype head = std::mismatch(before.begin(), before.begin() + shorter, text.begin()).first - before.begin();
    const qsizetype tail =
        std::mismatch(before.rbegin(), before.rbegin() + (shorter - head), text.rbegin()).first - before.rbegin();
    return accepts(field, {before, before.size() - head - tail, text.mid(head, text.size() - head - tail)});
}

bool CardForm::accepts(Field field, const Edit &edit)
{
    const qsizetype newLength = edit.before.size() - edit.length + edit.replacement.size();
    const bool isAccepted = newLength <= maximumLength(field) && isDigits(edit.replacement);
    if (field != CardNumber)
        return isAccepted;

    if (edit.before.size() < 7) {
        m_bankIcon.clear();
        m_bankName.clear();
    } else {
        applyCardRules(edit.before);
        showBank(edit.before);
    }
    m_isSettledDown = isMasked(edit.before);
    m_cardNumberFault.clear();
    Q_EMIT cardChanged();
    return isAccepted;
}

qsizetype CardForm::maximumLength(Field field)
{
    return field == CardNumber ? 16 : field == Pin ? 12 : 6;
}

QString CardForm::refusal(Field field, const QString &text) const
{
    const auto others = [](const QString &content) {
        return std::count_if(content.begin(), content.end(),
                             [](QChar character) { return character < u'0' || character > u'9'; });
    };
    const bool areDigits = std::all_of(text.begin(), text.end(), [](QChar character) { return character.isDigit(); });
    if (others(text) > others(this->text(field)) && areDigits)
        return QStringLiteral("رقم‌ها را به انگلیسی بچسبانید");
    if (others(text) > others(this->text(field)))
        return QStringLiteral("فقط رقم وارد کنید؛ بدون فاصله و نشانه");
    return QStringLiteral("بیشتر از %1 رقم جا نمی‌گیرد").arg(maximumLength(field));
}

void CardForm::applyCardRules(const QString &cardNumber)
{
    if (m_terms.ta == QLatin1String("NA") || !m_terms.bl || !m_terms.bl->contains(QLatin1Char('|')))
        return;
    try {
        const QString userValues = cardNumber + QLatin1Char(';') + m_terms.amn.value_or(QStringLiteral("(null)"));
        const QString verdict = CoreFunctions().isSimple(*m_terms.bl, userValues);
        if (verdict == QLatin1String("NA"))
            Q_EMIT notified(QStringLiteral("شما مجاز به پرداخت نمیباشید"));
        else if (verdict == QLatin1String("NO"))
            setSimple(false);
        else if (verdict == QLatin1String("JA"))
            setSimple(true);
    } catch (const std::out_of_range &) {
        qCWarning(logScreen, "the card rules are malformed; the form stays as it is");
    }
}

void CardForm::showBank(const QString &cardNumber)
{
    m_bankIcon = QUrl(Bundle::sdk().urlForImage(logoFile(cardNumber)));
    m_bankName = CoreFunctions().bankName(cardNumber);
}

void CardForm::cardNumberDidEndEditing()
{
    if (m_cardNumber.size() != 16)
        return;
    m_isBeefStroganoff = m_isSettledDown || CoreFunctions().isValidCardNumber(m_cardNumber);
    m_cardNumberFault = m_isBeefStroganoff ? QString() : QStringLiteral("شماره کارت وارد شده صحیح نمیباشد");
    Q_EMIT cardChanged();
    if (!m_isBeefStroganoff)
        Q_EMIT notified(m_cardNumberFault);
}

void CardForm::applySavedCard(const QString &panID, const QString &pan, const QString &exp)
{
    m_panID = panID;
    setCardNumber(pan);
    applyCardRules(pan);
    setText(m_expiration, exp, &CardForm::expirationChanged);
    showBank(pan);
    m_isSettledDown = true;
    m_cardNumberFault.clear();
    Q_EMIT cardChanged();
}

void CardForm::selectExpiry(int yearRow, int monthRow)
{
    const QStringList years = this->years();
    const QStringList months = this->months();
    if (yearRow >= 0 && yearRow < years.size() && monthRow >= 0 && monthRow < months.size())
        setText(m_expiration, years[yearRow] + QLatin1Char('/') + months[monthRow], &CardForm::expirationChanged);
}

bool CardForm::isComplete() const
{
    return m_cardNumber.size() >= 15 && m_pin.size() >= 5 &&
           (m_isSimple || (m_cvv2.size() >= 3 && m_expiration.size() == 5));
}

std::optional<QString> CardForm::card() const
{
    return m_isSettledDown ? m_panID : m_cardNumber;
}

void CardForm::clearSecrets()
{
    setPin({});
    setCvv2({});
}

void CardForm::setCardNumber(const QString &cardNumber)
{
    setText(m_cardNumber, cardNumber, &CardForm::cardNumberChanged);
}

void CardForm::setPin(const QString &pin)
{
    setText(m_pin, pin, &CardForm::pinChanged);
}

void CardForm::setCvv2(const QString &cvv2)
{
    setText(m_cvv2, cvv2, &CardForm::cvv2Changed);
}

void CardForm::setText(QString &member, const QString &text, void (CardForm::*changed)())
{
    if (member == text)
        return;
    member = text;
    Q_EMIT(this->*changed)();
}

void CardForm::setSimple(bool isSimple)
{
    if (m_isSimple == isSimple)
        return;
    m_isSimple = isSimple;
    Q_EMIT isSimpleChanged();
}

QString CardForm::text(Field field) const
{
    switch (field) {
    case CardNumber:
        return m_cardNumber;
    case Pin:
        return m_pin;
    case Cvv2:
        break;
    }
    return m_cvv2;
}

QStringList CardForm::years() const
{
    return QStringLiteral("96 97 98 99 00 01 02 03 04 05").split(QLatin1Char(' '));
}

QStringList CardForm::months() const
{
    return QStringLiteral("01 02 03 04 05 06 07 08 09 10 11 12").split(QLatin1Char(' '));
}

} // namespace kelpay

#include "CardForm.h"

#include "device/cards/Bank.h"
#include "device/cards/CardNumber.h"
#include "device/cards/CardRules.h"
#include "device/cards/SavedCard.h"
#include "platform/Bundle.h"
#include "platform/Deployment.h"
#include "platform/Log.h"

#include <algorithm>
#include <stdexcept>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

bool isDigits(QStringView text)
{
    return std::all_of(text.begin(), text.end(),
                       [](QChar character) { return character >= u'0' && character <= u'9'; });
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
        showBank(QString(pan).remove(u'-'), Bundle::main());
    }
    Q_EMIT cardChanged();
}

bool CardForm::textField(Field field, qsizetype, qsizetype length, const QString &replacement)
{
    return accepts(field, {text(field), length, replacement});
}

bool CardForm::acceptsText(Field field, const QString &text)
{
    const QString before = this->text(field);
    if (text == before)
        return true;
    if (field == CardNumber && CardNumber::isMasked(before) && !text.isEmpty() && isDigits(text))
        return accepts(field, {before, before.size(), {}}) && accepts(field, {{}, 0, text});

    const qsizetype shorter = std::min(before.size(), text.size());
    const qsizetype head = std::mismatch(before.begin(), before.begin() + shorter, text.begin()).first - before.begin();
    const qsizetype tail =
        std::mismatch(before.rbegin(), before.rbegin() + (shorter - head), text.rbegin()).first - before.rbegin();
    return textField(field, head, before.size() - head - tail, text.mid(head, text.size() - head - tail));
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
        showBank(edit.before, Bundle::sdk());
    }
    m_isSettledDown = CardNumber::isMasked(edit.before);
    setFault(CardNumber, {});
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
        return u"رقم‌ها را به انگلیسی بچسبانید"_s;
    if (others(text) > others(this->text(field)))
        return u"فقط رقم وارد کنید؛ بدون فاصله و نشانه"_s;
    return u"بیشتر از %1 رقم جا نمی‌گیرد"_s.arg(maximumLength(field));
}

void CardForm::applyCardRules(const QString &cardNumber)
{
    if (m_terms.ta == "NA"_L1 || !m_terms.bl || !m_terms.bl->contains(u'|'))
        return;
    try {
        const Verdict verdict = CardRules(*m_terms.bl).verdict(cardNumber, m_terms.amn.value_or(QString()));
        if (verdict == Verdict::Refused)
            Q_EMIT notified(u"شما مجاز به پرداخت نمیباشید"_s);
        else
            setSimple(verdict == Verdict::Simple);
    } catch (const std::out_of_range &) {
        qCWarning(logScreen, "the card rules are malformed; the form stays as it is");
    }
}

void CardForm::showBank(const QString &cardNumber, const Bundle &bundle)
{
    const Bank bank = Bank::issuerOf(cardNumber);
    m_bankIcon = QUrl(bundle.urlForImage(bank.logo));
    m_bankName = bank.name;
}

void CardForm::textFieldDidEndEditing(Field field)
{
    if (field != CardNumber || m_cardNumber.size() != 16)
        return;
    m_isBeefStroganoff = m_isSettledDown || CardNumber::isValid(m_cardNumber);
    setFault(CardNumber, m_isBeefStroganoff ? QString() : u"شماره کارت وارد شده صحیح نمیباشد"_s);
    if (!m_isBeefStroganoff)
        Q_EMIT notified(m_faults[CardNumber]);
}

void CardForm::notifierFired(const QString &panID, const QString &pan, const QString &exp)
{
    m_panID = panID;
    setCardNumber(pan);
    applyCardRules(pan);
    setExpiration(exp);
    showBank(pan, Bundle::sdk());
    m_isSettledDown = true;
    Q_EMIT cardChanged();
}

void CardForm::selectExpiry(int yearRow, int monthRow)
{
    const QStringList years = this->years();
    const QStringList months = this->months();
    if (yearRow >= 0 && yearRow < years.size() && monthRow >= 0 && monthRow < months.size())
        setExpiration(years[yearRow] + u'/' + months[monthRow]);
}

bool CardForm::typeExpiry(const QString &typed)
{
    const int digit = typed.size() == 1 ? typed.front().digitValue() : -1;
    if (digit < 0)
        return false;
    QString text = m_expiration.size() < 5 ? m_expiration : QString();
    if (text.size() == 2)
        text += u'/';
    text += QString::number(digit);
    const auto hasStart = [](const QStringList &rows, const QString &start) {
        return std::any_of(rows.begin(), rows.end(), [&](const QString &row) { return row.startsWith(start); });
    };
    if (hasStart(years(), text.left(2)) && hasStart(months(), text.mid(3)))
        setExpiration(text);
    return true;
}

void CardForm::eraseExpiry()
{
    setExpiration(m_expiration.left(m_expiration.size() == 4 ? 2 : m_expiration.size() - 1));
}

bool CardForm::isLongEnough(Field field) const
{
    switch (field) {
    case CardNumber:
        return m_cardNumber.size() >= 15;
    case Pin:
        return m_pin.size() >= 5;
    case Cvv2:
        return m_isSimple || m_cvv2.size() >= 3;
    case Expiration:
        break;
    }
    return m_isSimple || m_expiration.size() == 5;
}

std::optional<CardForm::Field> CardForm::firstFault() const
{
    for (const Field field : {CardNumber, Pin, Cvv2, Expiration}) {
        if (!isLongEnough(field))
            return field;
    }
    return std::nullopt;
}

void CardForm::nameFault()
{
    static const QStringList faults{{},
                                    u"شماره کارت کامل نیست"_s,
                                    u"رمز دوم دست‌کم 5 رقم است"_s,
                                    u"CVV2 دست‌کم 3 رقم است"_s,
                                    u"سال و ماه انقضا را وارد کنید"_s};
    if (const auto field = firstFault()) {
        setFault(*field, faults[*field]);
        Q_EMIT faultFound(*field);
    }
}

void CardForm::setFault(Field field, const QString &fault)
{
    if (m_faults[field] == fault)
        return;
    m_faults[field] = fault;
    Q_EMIT faultsChanged();
}

bool CardForm::isTouched() const
{
    return (m_isCardNumberEnabled && !m_cardNumber.isEmpty()) || !m_pin.empty() || !m_cvv2.empty() ||
           !m_expiration.isEmpty();
}

std::optional<QString> CardForm::card() const
{
    return m_isSettledDown ? panID() : cardNumber();
}

void CardForm::clearSecrets()
{
    for (const Field field : {Pin, Cvv2})
        setSecret(field, {});
}

void CardForm::setCardNumber(const QString &cardNumber)
{
    setFault(CardNumber, {});
    setText(m_cardNumber, cardNumber, &CardForm::cardNumberChanged);
}

bool CardForm::editSecret(Field field, qsizetype position, qsizetype length, QStringView digits)
{
    SecretBuffer &secret = secretOf(field);
    const auto size = static_cast<qsizetype>(secret.size());
    const qsizetype removed = std::clamp<qsizetype>(length, 0, size - std::min(position, size));
    if (!isDigits(digits) || size - removed + digits.size() > maximumLength(field))
        return false;
    if (removed == 0 && digits.isEmpty())
        return true;
    setFault(field, {});
    secret.remove(static_cast<std::size_t>(position), static_cast<std::size_t>(removed));
    for (const QChar digit : digits)
        secret.insert(static_cast<std::size_t>(position++), digit.toLatin1());
    Q_EMIT secretChanged(field);
    return true;
}

void CardForm::setExpiration(const QString &expiration)
{
    setFault(Expiration, {});
    setText(m_expiration, expiration, &CardForm::expirationChanged);
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
    case Cvv2:
        return {};
    case Expiration:
        break;
    }
    return m_expiration;
}

const std::array<QStringList, 2> &CardForm::dateArray()
{
    static const std::array<QStringList, 2> lists{u"96 97 98 99 00 01 02 03 04 05"_s.split(u' ') +
                                                      Deployment::expiryYears(),
                                                  u"01 02 03 04 05 06 07 08 09 10 11 12"_s.split(u' ')};
    return lists;
}

} // namespace kelpay

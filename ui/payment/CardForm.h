#pragma once

#include "platform/SecretBuffer.h"

#include <QObject>
#include <QStringList>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

#include <array>
#include <optional>

namespace kelpay {

class Bundle;
struct SavedCard;

/// The card data of the payment screen: what each field takes, which form applies, the bank of the number, the saved
/// card in place of a number. Main queue.
class CardForm : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Belongs to the payment screen")
    Q_PROPERTY(QString cardNumber READ cardNumber WRITE setCardNumber NOTIFY cardNumberChanged)
    Q_PROPERTY(QString expiration READ expiration NOTIFY expirationChanged)
    Q_PROPERTY(bool isSimple READ isSimple NOTIFY isSimpleChanged)
    Q_PROPERTY(bool isSettledDown READ isSettledDown NOTIFY cardChanged)
    Q_PROPERTY(bool cardNumberEnabled READ isCardNumberEnabled NOTIFY cardChanged)
    Q_PROPERTY(QUrl bankIcon READ bankIcon NOTIFY cardChanged)
    Q_PROPERTY(QString bankName READ bankName NOTIFY cardChanged)
    /// What is wrong with each field, by its number.
    Q_PROPERTY(QStringList faults READ faults NOTIFY faultsChanged)
    Q_PROPERTY(QStringList years READ years CONSTANT)
    Q_PROPERTY(QStringList months READ months CONSTANT)

public:
    enum Field { CardNumber = 1, Pin = 2, Cvv2 = 3, Expiration = 4 };
    Q_ENUM(Field)

    /// What the token answer says about cards.
    struct Terms
    {
        std::optional<QString> ta;  ///< "NA": no PIN-only payments, the card rules are not asked.
        std::optional<QString> bl;  ///< The card rules.
        std::optional<QString> amn; ///< The amount.
    };

    using QObject::QObject;

    void setTerms(const Terms &terms);
    /// Puts the payer's default card in place; `isFixed` shows it in the number field, which then takes no input.
    /// Without a card only the field is fixed.
    void setDefaultCard(const SavedCard *card, bool isFixed);

    /// Whether the field takes `replacement` for `length` characters from `location` on. For the card number this also
    /// asks the card rules and names the bank, both by the text before the change.
    bool textField(Field field, qsizetype location, qsizetype length, const QString &replacement);
    /// The same for an edit known by its result. A saved card's number whose mask is gone is a new number: two edits.
    bool acceptsText(Field field, const QString &text);
    /// Why the field does not take `text`, in words for the payer; of a secret field's, why not these digits.
    QString refusal(Field field, const QString &text) const;
    /// The person leaves the field: a complete card number is checked.
    Q_INVOKABLE void textFieldDidEndEditing(kelpay::CardForm::Field field);
    /// Puts a chosen saved card in place of a number.
    void notifierFired(const QString &panID, const QString &pan, const QString &exp);
    Q_INVOKABLE void selectExpiry(int yearRow, int monthRow);
    /// A key in the expiry: a digit of any keyboard that leads to one of the years and months goes in, after a whole
    /// date as the first of a new one. False for what is no digit.
    Q_INVOKABLE bool typeExpiry(const QString &typed);
    Q_INVOKABLE void eraseExpiry();

    /// Whether the fields are long enough to be sent.
    bool isComplete() const { return !firstFault(); }
    /// Says what is wrong with the first field that is not, and asks for it by faultFound.
    void nameFault();
    /// Whether the payer entered anything.
    bool isTouched() const;
    /// The saved card's identifier, or the number; std::nullopt for an identifier that is missing.
    std::optional<QString> card() const;
    /// Empties PIN and CVV2.
    void clearSecrets();

    /// The identifier of the saved card that was put in place last; std::nullopt before.
    std::optional<QString> panID() const { return m_panID; }
    QString cardNumber() const { return m_cardNumber; }
    void setCardNumber(const QString &cardNumber);
    /// The digits of PIN or CVV2; not to be copied into anything that isn't wiped.
    const SecretBuffer &secret(Field field) const { return field == Pin ? m_pin : m_cvv2; }
    std::string_view pin() const { return m_pin.view(); }
    std::string_view cvv2() const { return m_cvv2.view(); }
    /// Puts `digits` in the place of `length` ones from `position` on. False, and nothing changed, for what the field
    /// does not take: other characters, too many.
    bool editSecret(Field field, qsizetype position, qsizetype length, QStringView digits);
    /// The same in the place of all of them.
    bool setSecret(Field field, QStringView digits) { return editSecret(field, 0, maximumLength(field), digits); }
    QString expiration() const { return m_expiration; }
    /// PIN only, no CVV2 and expiry.
    bool isSimple() const { return m_isSimple; }
    void setSimple(bool isSimple);
    /// A saved card stands in place of a number.
    bool isSettledDown() const { return m_isSettledDown; }
    /// The number has passed its check, or is a saved card's.
    bool isBeefStroganoff() const { return m_isBeefStroganoff; }
    bool isCardNumberEnabled() const { return m_isCardNumberEnabled; }
    QUrl bankIcon() const { return m_bankIcon; }
    QString bankName() const { return m_bankName; }
    QStringList faults() const { return m_faults; }
    /// The wheels of the expiry: years and months.
    static const std::array<QStringList, 2> &dateArray();
    QStringList years() const { return dateArray()[0]; }
    QStringList months() const { return dateArray()[1]; }

Q_SIGNALS:
    void cardNumberChanged();
    void secretChanged(kelpay::CardForm::Field field);
    void expirationChanged();
    void isSimpleChanged();
    void cardChanged();
    void faultsChanged();
    /// The person should go to this field.
    void faultFound(kelpay::CardForm::Field field);
    /// Something to tell the payer.
    void notified(const QString &message);

private:
    struct Edit
    {
        QString before;
        qsizetype length;
        QString replacement;
    };
    bool accepts(Field field, const Edit &edit);
    SecretBuffer &secretOf(Field field) { return field == Pin ? m_pin : m_cvv2; }
    static qsizetype maximumLength(Field field);
    QString text(Field field) const;
    bool isLongEnough(Field field) const;
    std::optional<Field> firstFault() const;
    void setFault(Field field, const QString &fault);
    void setExpiration(const QString &expiration);
    void setText(QString &member, const QString &text, void (CardForm::*changed)());
    void applyCardRules(const QString &cardNumber);
    void showBank(const QString &cardNumber, const Bundle &bundle);

    Terms m_terms;
    std::optional<QString> m_panID;
    QString m_cardNumber;
    SecretBuffer m_pin;
    SecretBuffer m_cvv2;
    QString m_expiration;
    QString m_bankName;
    QStringList m_faults = QStringList(Expiration + 1);
    QUrl m_bankIcon;
    bool m_isSimple = false;
    bool m_isSettledDown = false;
    bool m_isBeefStroganoff = false;
    bool m_isCardNumberEnabled = true;
};

} // namespace kelpay

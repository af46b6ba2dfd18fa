#pragma once

#include "CardForm.h"

#include <QClipboard>
#include <QPointer>
#include <QQuickItem>
#include <QValidator>
#include <QtQml/qqmlregistration.h>

namespace kelpay {

/// Stands between a text field and the person: every edit is the card form's to accept, a digit key of a Persian or
/// Arabic keyboard counts as the ASCII digit, nothing is undone, and a secret field can't be copied or cut nor read by
/// an input method. A secret field's own text is marks, one for each digit: what is typed goes straight to the form's
/// SecretBuffer, what is deleted of the marks is taken out there.
class EntryGuard : public QValidator
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(kelpay::CardForm *form READ form WRITE setForm REQUIRED FINAL)
    Q_PROPERTY(kelpay::CardForm::Field field MEMBER m_field REQUIRED FINAL)
    Q_PROPERTY(QQuickItem *target READ target WRITE setTarget REQUIRED FINAL)
    Q_PROPERTY(bool secret MEMBER m_isSecret FINAL)
    /// Something else is the field's input: no on-screen keyboard opens for it.
    Q_PROPERTY(bool quiet READ isQuiet WRITE setQuiet FINAL)

public:
    using QValidator::QValidator;

    State validate(QString &text, int &position) const override;
    CardForm *form() const { return m_form; }
    void setForm(CardForm *form);
    QQuickItem *target() const { return m_target; }
    void setTarget(QQuickItem *target);
    bool isQuiet() const { return m_isQuiet; }
    void setQuiet(bool isQuiet);

Q_SIGNALS:
    /// An edit was not taken; `why` is for the person.
    void refused(const QString &why) const;

private:
    bool eventFilter(QObject *watched, QEvent *event) override;
    bool filterKey(const QKeyEvent &event);
    bool filterInputMethod(const QInputMethodEvent &event);
    bool filterSecretKey(const QKeyEvent &event);
    void paste(QClipboard::Mode mode);
    /// Puts `typed` in the place of what is selected, or else of `length` digits from `offset` to the cursor on.
    void enterSecret(const QString &typed, int offset = 0, int length = 0);
    void showMarks();
    Q_SLOT void dropDeleted();
    void answerQuery(QInputMethodQueryEvent &event) const;

    QPointer<CardForm> m_form;
    CardForm::Field m_field = CardForm::CardNumber;
    QPointer<QQuickItem> m_target;
    bool m_isSecret = false;
    bool m_isQuiet = false;
};

} // namespace kelpay

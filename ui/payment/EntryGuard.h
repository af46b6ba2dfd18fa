#pragma once

#include "CardForm.h"

#include <QPointer>
#include <QQuickItem>
#include <QValidator>
#include <QtQml/qqmlregistration.h>

namespace kelpay {

/// Stands between a text field and the person: every edit is the card form's to accept, a digit key of a Persian or
/// Arabic keyboard counts as the ASCII digit, nothing is undone, and a secret field can't be copied or cut nor read by
/// an input method.
class EntryGuard : public QValidator
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(kelpay::CardForm *form MEMBER m_form REQUIRED FINAL)
    Q_PROPERTY(kelpay::CardForm::Field field MEMBER m_field REQUIRED FINAL)
    Q_PROPERTY(QQuickItem *target READ target WRITE setTarget REQUIRED FINAL)
    Q_PROPERTY(bool secret MEMBER m_isSecret FINAL)
    /// Something else is the field's input: no on-screen keyboard opens for it.
    Q_PROPERTY(bool quiet READ isQuiet WRITE setQuiet FINAL)

public:
    using QValidator::QValidator;

    State validate(QString &text, int &position) const override;
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
    void answerQuery(QInputMethodQueryEvent &event) const;

    CardForm *m_form = nullptr;
    CardForm::Field m_field = CardForm::CardNumber;
    QPointer<QQuickItem> m_target;
    bool m_isSecret = false;
    bool m_isQuiet = false;
};

} // namespace kelpay

#include "EntryGuard.h"

#include <QGuiApplication>
#include <QInputMethod>
#include <QInputMethodEvent>
#include <QKeyEvent>

namespace kelpay {

namespace {

/// The ASCII digit that one typed character stands for; "" when it is ASCII already or no digit.
QString asciiDigit(const QString &typed)
{
    if (typed.size() != 1 || typed.front().unicode() < 0x80 || typed.front().digitValue() < 0)
        return {};
    return QString::number(typed.front().digitValue());
}

} // namespace

QValidator::State EntryGuard::validate(QString &text, int &) const
{
    if (!m_form || m_form->acceptsText(m_field, text))
        return Acceptable;
    Q_EMIT refused(m_form->refusal(m_field, text));
    return Invalid;
}

void EntryGuard::setTarget(QQuickItem *target)
{
    if (m_target)
        m_target->removeEventFilter(this);
    m_target = target;
    if (m_target)
        m_target->installEventFilter(this);
    setQuiet(m_isQuiet);
}

void EntryGuard::setQuiet(bool isQuiet)
{
    m_isQuiet = isQuiet;
    if (!m_target)
        return;
    m_target->setFlag(QQuickItem::ItemAcceptsInputMethod, !isQuiet);
    QGuiApplication::inputMethod()->update(Qt::ImEnabled);
    if (!isQuiet && m_target->hasActiveFocus())
        QGuiApplication::inputMethod()->show();
}

bool EntryGuard::eventFilter(QObject *, QEvent *event)
{
    switch (event->type()) {
    case QEvent::KeyPress:
        return filterKey(*static_cast<QKeyEvent *>(event));
    case QEvent::InputMethod:
        return filterInputMethod(*static_cast<QInputMethodEvent *>(event));
    case QEvent::InputMethodQuery:
        if (!m_isSecret)
            return false;
        answerQuery(*static_cast<QInputMethodQueryEvent *>(event));
        return true;
    default:
        return false;
    }
}

bool EntryGuard::filterKey(const QKeyEvent &event)
{
    // An undo passes the validator by: it could bring a saved card's mask back without its identifier.
    if (event.matches(QKeySequence::Undo) || event.matches(QKeySequence::Redo))
        return true;
    if (m_isSecret && (event.matches(QKeySequence::Copy) || event.matches(QKeySequence::Cut)))
        return true;
    const QString digit = asciiDigit(event.text());
    if (digit.isEmpty())
        return false;
    QKeyEvent typed(QEvent::KeyPress, Qt::Key_0 + digit.toInt(), Qt::NoModifier, digit, event.isAutoRepeat());
    QCoreApplication::sendEvent(m_target, &typed);
    return true;
}

bool EntryGuard::filterInputMethod(const QInputMethodEvent &event)
{
    const QString digit = asciiDigit(event.commitString());
    if (digit.isEmpty())
        return false;
    QInputMethodEvent typed;
    typed.setCommitString(digit, event.replacementStart(), event.replacementLength());
    QCoreApplication::sendEvent(m_target, &typed);
    return true;
}

void EntryGuard::answerQuery(QInputMethodQueryEvent &event) const
{
    constexpr Qt::InputMethodQueries telling =
        Qt::ImSurroundingText | Qt::ImCurrentSelection | Qt::ImTextBeforeCursor | Qt::ImTextAfterCursor;
    for (uint bit = 1; bit != 0; bit <<= 1) {
        const auto query = static_cast<Qt::InputMethodQuery>(bit);
        if (event.queries() & query)
            event.setValue(query, telling & query ? QVariant(QString()) : m_target->inputMethodQuery(query));
    }
    event.accept();
}

} // namespace kelpay

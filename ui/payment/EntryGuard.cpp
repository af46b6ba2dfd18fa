#include "EntryGuard.h"

#include <QGuiApplication>
#include <QInputMethod>
#include <QInputMethodEvent>
#include <QKeyEvent>

#include <algorithm>

namespace kelpay {

namespace {

/// The ASCII digit that one typed character stands for; "" when it is ASCII already or no digit.
QString asciiDigit(const QString &typed)
{
    if (typed.size() != 1 || typed.front().unicode() < 0x80 || typed.front().digitValue() < 0)
        return {};
    return QString::number(typed.front().digitValue());
}

constexpr QChar mark = u'•'; // in the bundled font

} // namespace

QValidator::State EntryGuard::validate(QString &text, int &) const
{
    // Digits come another way.
    if (m_isSecret)
        return text.count(mark) == text.size() ? Acceptable : Invalid;
    if (!m_form || m_form->acceptsText(m_field, text))
        return Acceptable;
    Q_EMIT refused(m_form->refusal(m_field, text));
    return Invalid;
}

void EntryGuard::setForm(CardForm *form)
{
    m_form = form;
    connect(form, &CardForm::secretChanged, this, [this](CardForm::Field field) {
        if (m_isSecret && m_target && field == m_field)
            showMarks();
    });
}

void EntryGuard::setTarget(QQuickItem *target)
{
    if (m_target)
        m_target->removeEventFilter(this);
    m_target = target;
    if (m_target)
        m_target->installEventFilter(this);
    // By name: Qt's class of text fields is private.
    if (m_target)
        connect(m_target, SIGNAL(textChanged()), this, SLOT(dropDeleted()));
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
    case QEvent::MouseButtonRelease:
        if (!m_isSecret || static_cast<QMouseEvent *>(event)->button() != Qt::MiddleButton)
            return false;
        paste(QClipboard::Selection);
        return true;
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
    if (m_isSecret)
        return filterSecretKey(event);
    const QString digit = asciiDigit(event.text());
    if (digit.isEmpty())
        return false;
    QKeyEvent typed(QEvent::KeyPress, Qt::Key_0 + digit.toInt(), Qt::NoModifier, digit, event.isAutoRepeat());
    QCoreApplication::sendEvent(m_target, &typed);
    return true;
}

bool EntryGuard::filterSecretKey(const QKeyEvent &event)
{
    if (event.matches(QKeySequence::Paste)) {
        paste(QClipboard::Clipboard);
        return true;
    }
    const bool isShortcut = (event.modifiers() | Qt::ShiftModifier) == (Qt::ControlModifier | Qt::ShiftModifier);
    if (isShortcut || event.text().isEmpty() || !event.text().front().isPrint())
        return false;
    enterSecret(event.text());
    return true;
}

void EntryGuard::paste(QClipboard::Mode mode)
{
    if (const QString text = QGuiApplication::clipboard()->text(mode); !text.isEmpty())
        enterSecret(text);
}

void EntryGuard::enterSecret(const QString &typed, int offset, int length)
{
    if (!m_form)
        return;
    int position = m_target->property("selectionStart").toInt();
    const int selected = m_target->property("selectionEnd").toInt() - position;
    if (selected == 0)
        position = std::max(0, position + offset);
    const QString digit = asciiDigit(typed);
    const QString &digits = digit.isEmpty() ? typed : digit;
    if (m_form->editSecret(m_field, position, selected > 0 ? selected : length, digits))
        m_target->setProperty("cursorPosition", position + digits.size());
    else
        Q_EMIT refused(m_form->refusal(m_field, digits));
}

void EntryGuard::showMarks()
{
    m_target->setProperty("text", QString(static_cast<qsizetype>(m_form->secret(m_field).size()), mark));
}

void EntryGuard::dropDeleted()
{
    if (!m_isSecret || !m_form)
        return;
    // After a deletion the cursor stands where it was.
    const qsizetype gone =
        static_cast<qsizetype>(m_form->secret(m_field).size()) - m_target->property("text").toString().size();
    const int cursor = m_target->property("cursorPosition").toInt();
    if (gone > 0 && m_form->editSecret(m_field, cursor, gone, {}))
        m_target->setProperty("cursorPosition", cursor);
}

bool EntryGuard::filterInputMethod(const QInputMethodEvent &event)
{
    if (m_isSecret) {
        // What is not committed yet is not shown.
        if (!event.commitString().isEmpty() || event.replacementLength() > 0)
            enterSecret(event.commitString(), event.replacementStart(), event.replacementLength());
        return true;
    }
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

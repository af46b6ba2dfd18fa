#include "AlertView.h"

namespace kelpay {

void AlertView::addButton(const QString &text, Handler handler)
{
    m_buttons.push_back({text, std::move(handler)});
}

void AlertView::setCancelButton(const QString &text, Handler handler)
{
    m_cancel = {text, std::move(handler)};
}

void AlertView::show(const QString &title, const QString &message)
{
    m_title = title;
    m_message = message;
    m_shown = true;
    Q_EMIT shownChanged();
}

void AlertView::dismiss()
{
    if (!m_shown)
        return;
    m_shown = false;
    Q_EMIT shownChanged();
}

QStringList AlertView::buttons() const
{
    QStringList texts;
    for (const Button &button : m_buttons)
        texts.append(button.text);
    return texts;
}

void AlertView::press(int button)
{
    if (m_shown && button >= 0 && button < static_cast<int>(m_buttons.size()))
        answer(m_buttons[static_cast<size_t>(button)].handler);
}

void AlertView::pressCancel()
{
    if (m_shown)
        answer(m_cancel.handler);
}

void AlertView::answer(const Handler &handler)
{
    const Handler once = handler;
    dismiss();
    if (once)
        once();
}

} // namespace kelpay

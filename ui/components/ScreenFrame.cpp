#include "ScreenFrame.h"

#include "ScreenEngine.h"
#include "ViewController.h"

#include <QUrl>

namespace kelpay {

ScreenFrame::ScreenFrame(QQuickItem *view, QQuickItem *place, Edge edge)
    : m_item(ScreenEngine::createItem(QUrl(QStringLiteral("qrc:/qt/qml/KelPay/Components/ScreenFrame.qml")),
                                      {{QStringLiteral("view"), QVariant::fromValue(view)},
                                       {QStringLiteral("horizontal"), edge == Edge::Side},
                                       {QStringLiteral("duration"), ViewController::transitionMilliseconds}}))
{
    if (m_item)
        m_item->setParentItem(place);
}

ScreenFrame::~ScreenFrame()
{
    delete m_item;
}

void ScreenFrame::enter(bool animated)
{
    if (!m_item)
        return;
    m_item->setVisible(true);
    m_item->setProperty("animated", animated);
    m_item->setProperty("shown", true);
    m_item->forceActiveFocus();
}

void ScreenFrame::leave(bool animated)
{
    if (!m_item)
        return;
    m_item->setProperty("animated", animated);
    m_item->setProperty("shown", false);
}

void ScreenFrame::setVisible(bool visible)
{
    if (m_item)
        m_item->setVisible(visible);
}

} // namespace kelpay

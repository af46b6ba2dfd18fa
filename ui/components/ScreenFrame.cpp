#include "ScreenFrame.h"

#include "ScreenEngine.h"
#include "ViewController.h"

#include <QUrl>

namespace kelpay {

using namespace Qt::StringLiterals;

ScreenFrame::ScreenFrame(ViewController &screen, QQuickItem *place, Edge edge, bool slides)
    : m_item(ScreenEngine::createItem(QUrl(u"qrc:/qt/qml/KelPay/Components/ScreenFrame.qml"_s),
                                      {{u"parent"_s, QVariant::fromValue(place)},
                                       {u"horizontal"_s, edge == Edge::Side},
                                       {u"shown"_s, !slides},
                                       {u"duration"_s, ViewController::transitionMilliseconds}}))
{
    if (m_item)
        m_item->setProperty("view", QVariant::fromValue(screen.view(m_item)));
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

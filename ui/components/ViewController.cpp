#include "ViewController.h"

#include "Appearance.h"
#include "NavigationController.h"
#include "RootViewController.h"
#include "ScreenEngine.h"
#include "platform/Dispatch.h"
#include "platform/Log.h"

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

void afterTransition(bool animated, std::function<void()> task)
{
    Dispatch::mainAfter(std::chrono::milliseconds(animated ? ViewController::transitionMilliseconds : 0),
                        std::move(task));
}

} // namespace

bool ViewController::moves(bool animated)
{
    return animated && !Appearance::shared().isMotionReduced();
}

ViewController::ViewController(const QUrl &view, QObject *parent) : QObject(parent), m_viewUrl(view)
{
    if (!view.isEmpty() && ScreenEngine::hasDisplay())
        ScreenEngine::loadAhead(view);
}

ViewController::~ViewController() = default;

void ViewController::operator delete(ViewController *controller, std::destroying_delete_t)
{
    controller->unloadView();
    controller->~ViewController();
    ::operator delete(controller);
}

void ViewController::unloadView()
{
    m_frame.reset();
    delete m_view;
}

NavigationController *ViewController::navigationController() const
{
    return m_navigation;
}

QQuickItem *ViewController::view(QQuickItem *place)
{
    if (!m_view && !m_viewUrl.isEmpty()) {
        viewDidLoad();
        m_view = ScreenEngine::createItem(m_viewUrl, viewProperties(place));
        if (!m_view)
            m_viewUrl.clear();
    }
    return m_view;
}

QVariantMap ViewController::viewProperties(QQuickItem *place)
{
    QVariantMap properties{{u"controller"_s, QVariant::fromValue(this)}};
    if (place) {
        properties.insert(u"parent"_s, QVariant::fromValue(place));
        properties.insert(u"width"_s, place->width());
        properties.insert(u"height"_s, place->height());
    }
    return properties;
}

bool ViewController::frameIn(QQuickItem *place, ScreenFrame::Edge edge, bool slides)
{
    m_frame = std::make_unique<ScreenFrame>(*this, place, edge, slides);
    if (!m_view)
        m_frame.reset();
    return m_frame != nullptr;
}

void ViewController::present(std::unique_ptr<ViewController> controller, bool animated, Completion completion)
{
    if (m_presented || !controller) {
        qCWarning(logScreen, "nothing is presented: the screen presents one already, or there is no screen to present");
        return;
    }
    animated = moves(animated);
    QQuickItem *stage = RootViewController::shared().openStage();
    if (!stage || !controller->frameIn(stage, ScreenFrame::Edge::Bottom, animated)) {
        qCWarning(logScreen, "nothing is presented: there is no display, or the screen has no view");
        controller.reset();
        RootViewController::shared().closeStageIfUnused();
        return;
    }
    m_presented = controller.release();
    m_presented->setParent(this);
    m_presented->m_presenting = this;
    m_presented->viewWillAppear();
    m_presented->m_frame->enter(animated);
    afterTransition(animated, [presented = QPointer(m_presented), completion = std::move(completion)] {
        if (presented)
            presented->viewDidAppear();
        if (completion)
            completion();
    });
}

void ViewController::dismiss(bool animated, Completion completion)
{
    animated = moves(animated);
    if (m_presented) {
        const QPointer<ViewController> leaving = std::exchange(m_presented, nullptr);
        leaving->m_presenting = nullptr;
        leaving->m_frame->leave(animated);
        afterTransition(animated, [leaving, completion = std::move(completion)] {
            if (leaving) {
                leaving->m_frame.reset();
                leaving->deleteLater();
            }
            RootViewController::shared().closeStageIfUnused();
            if (completion)
                completion();
        });
    } else if (m_navigation && m_navigation->viewControllers().size() > 1 &&
               m_navigation->topViewController() == this) {
        m_navigation->pop(animated, std::move(completion));
    } else if (m_navigation) {
        m_navigation->dismiss(animated, std::move(completion));
    } else if (m_presenting) {
        m_presenting->dismiss(animated, std::move(completion));
    } else if (completion) {
        Dispatch::main(std::move(completion));
    }
}

void ViewController::dropPresented()
{
    if (const QPointer<ViewController> lost = std::exchange(m_presented, nullptr)) {
        lost->m_presenting = nullptr;
        lost->deleteLater();
    }
}

} // namespace kelpay

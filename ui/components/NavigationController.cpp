#include "NavigationController.h"

#include "platform/Dispatch.h"

namespace kelpay {

using namespace Qt::StringLiterals;

NavigationController::NavigationController(std::unique_ptr<ViewController> root, QObject *parent)
    : ViewController(QUrl(u"qrc:/qt/qml/KelPay/Components/NavigationView.qml"_s), parent)
{
    adopt(root.release());
}

NavigationController::~NavigationController()
{
    qDeleteAll(m_stack);
}

void NavigationController::unloadView()
{
    for (ViewController *controller : m_stack)
        controller->unloadView();
    ViewController::unloadView();
}

void NavigationController::adopt(ViewController *controller)
{
    controller->setParent(this);
    controller->m_navigation = this;
    m_stack.push_back(controller);
}

QQuickItem *NavigationController::container() const
{
    return viewIfLoaded() ? viewIfLoaded()->property("container").value<QQuickItem *>() : nullptr;
}

void NavigationController::setCovered(bool covered)
{
    if (m_covered == covered)
        return;
    m_covered = covered;
    Q_EMIT coveredChanged();
}

/// As long where nothing moves: a second touch comes as fast there.
void NavigationController::beginTransition()
{
    ++m_transitions;
    Q_EMIT movingChanged();
    Dispatch::mainAfter(std::chrono::milliseconds(transitionMilliseconds), [navigation = QPointer(this)] {
        if (!navigation)
            return;
        --navigation->m_transitions;
        Q_EMIT navigation->movingChanged();
    });
}

void NavigationController::viewWillAppear()
{
    ViewController *root = topViewController();
    if (!root->m_frame && root->frameIn(container(), ScreenFrame::Edge::Side, false))
        root->m_frame->enter(false);
    root->viewWillAppear();
}

void NavigationController::viewDidAppear()
{
    topViewController()->viewDidAppear();
}

void NavigationController::push(std::unique_ptr<ViewController> controller, bool animated, Completion completion)
{
    animated = moves(animated);
    beginTransition();
    const QPointer<ViewController> covered = topViewController();
    const QPointer<ViewController> pushed = controller.release();
    adopt(pushed);
    if (container() && pushed->frameIn(container(), ScreenFrame::Edge::Side, animated)) {
        pushed->viewWillAppear();
        pushed->m_frame->enter(animated);
    }
    Q_EMIT topViewControllerChanged();
    const std::chrono::milliseconds duration(animated ? transitionMilliseconds : 0);
    Dispatch::mainAfter(duration, [covered, pushed, completion = std::move(completion)] {
        if (pushed && pushed->m_frame) {
            pushed->viewDidAppear();
            if (covered && covered->m_frame && pushed->m_navigation)
                covered->m_frame->setVisible(false);
        }
        if (completion)
            completion();
    });
}

void NavigationController::pop(bool animated, Completion completion)
{
    animated = moves(animated);
    QPointer<ViewController> leaving;
    if (m_stack.size() > 1) {
        beginTransition();
        leaving = m_stack.back();
        m_stack.pop_back();
        leaving->m_navigation = nullptr;
        topViewController()->viewWillAppear();
        if (topViewController()->m_frame)
            topViewController()->m_frame->enter(false);
        if (leaving->m_frame)
            leaving->m_frame->leave(animated);
        Q_EMIT topViewControllerChanged();
    }
    const std::chrono::milliseconds duration(animated ? transitionMilliseconds : 0);
    Dispatch::mainAfter(duration, [leaving, completion = std::move(completion)] {
        delete leaving;
        if (completion)
            completion();
    });
}

} // namespace kelpay

#include "RootViewController.h"

#include "ScreenEngine.h"
#include "Stage.h"

#include <QCoreApplication>

namespace kelpay {

namespace {

RootViewController *sharedRoot = nullptr;

void deleteRoot()
{
    delete std::exchange(sharedRoot, nullptr);
}

} // namespace

RootViewController &RootViewController::shared()
{
    if (!sharedRoot) {
        // Post routines run last in, first out: the screens go before the engine that made them.
        if (ScreenEngine::hasDisplay())
            ScreenEngine::shared();
        sharedRoot = new RootViewController;
        qAddPostRoutine(deleteRoot);
    }
    return *sharedRoot;
}

RootViewController::RootViewController() = default;

RootViewController::~RootViewController()
{
    removeScreens();
}

void RootViewController::removeAllScreens()
{
    if (sharedRoot)
        sharedRoot->removeScreens();
}

void RootViewController::removeScreens()
{
    // What a screen presents is its child.
    qDeleteAll(findChildren<ViewController *>(QString(), Qt::FindDirectChildrenOnly));
    closeStageIfUnused();
}

void RootViewController::abandonScreens()
{
    for (auto *controller : findChildren<ViewController *>())
        controller->abandon();
    removeScreens();
}

bool RootViewController::hostHasWindow()
{
    return Stage::hostWindow() != nullptr;
}

QQuickItem *RootViewController::openStage()
{
    if (!m_stage && ScreenEngine::hasDisplay()) {
        m_stage = std::make_unique<Stage>();
        connect(m_stage.get(), &Stage::lost, this, [this] {
            dropPresented();
            // The stage is emitting: it goes when it has returned.
            m_stage.release()->deleteLater();
        });
        connect(m_stage.get(), &Stage::closeRequested, this, [this] {
            ViewController *top = this;
            while (top->presentedViewController())
                top = top->presentedViewController();
            if (top != this)
                top->closeRequested();
        });
    }
    return m_stage ? m_stage->content() : nullptr;
}

void RootViewController::closeStageIfUnused()
{
    if (!presentedViewController())
        m_stage.reset();
}

} // namespace kelpay

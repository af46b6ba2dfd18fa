#pragma once

#include "ViewController.h"

#include <vector>

namespace kelpay {

/// A stack of screens under a title bar.
class NavigationController : public ViewController
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Screens are made in C++")
    Q_PROPERTY(kelpay::ViewController *topViewController READ topViewController NOTIFY topViewControllerChanged)
    Q_PROPERTY(bool covered READ isCovered NOTIFY coveredChanged)
    Q_PROPERTY(bool moving READ isMoving NOTIFY movingChanged)

public:
    explicit NavigationController(std::unique_ptr<ViewController> root, QObject *parent = nullptr);
    ~NavigationController() override;

    /// Puts `controller` on top; `completion` runs when it stands.
    void push(std::unique_ptr<ViewController> controller, bool animated, Completion completion = {});
    /// Takes the top controller off; the last one stays.
    void pop(bool animated, Completion completion = {});
    ViewController *topViewController() const { return m_stack.back(); }
    const std::vector<ViewController *> &viewControllers() const { return m_stack; }

    /// Where the stack's views stand, below the bar; null before the view was made.
    QQuickItem *container() const;
    /// While covered, the screens below the bar take no input; the bar does.
    bool isCovered() const { return m_covered; }
    void setCovered(bool covered);
    /// While one screen gives way to another, neither takes input, nor does the bar.
    bool isMoving() const { return m_transitions > 0; }

    void viewWillAppear() override;
    void viewDidAppear() override;
    void closeRequested() override { topViewController()->closeRequested(); }

Q_SIGNALS:
    void topViewControllerChanged();
    void coveredChanged();
    void movingChanged();

protected:
    void unloadView() override;

private:
    void adopt(ViewController *controller);
    void beginTransition();

    std::vector<ViewController *> m_stack; // owned as QObject children
    bool m_covered = false;
    int m_transitions = 0;
};

} // namespace kelpay

#pragma once

#include "records/BaseClass.h"
#include "records/BaseClassp.h"
#include "ui/components/NavigationController.h"
#include "ui/payment/PaymentViewController.h"

#include <QQuickItem>
#include <QQuickWindow>
#include <gtest/gtest.h>

#include <mutex>
#include <vector>

namespace kelpay {

/// One call of the host's status block.
struct Told
{
    bool success = false;
    QString code;
    QString description;
    QString reference;
    QString merchantReference;
    bool onMain = false;
};

/// A host with a window, the stored answers of a service, and the screens on top.
class ScreenTest : public testing::Test
{
protected:
    ScreenTest();
    ~ScreenTest() override;

    /// Stores a token answer with `changes` in its details; null takes one away.
    static void storeToken(const QJsonObject &changes = {});
    static void storePaymentAnswer(const QJsonObject &answer);
    static QJsonObject paidAnswer();

    /// The payment screen in the host's window, its sender replaced by `sent` and `answer`.
    PaymentViewController *presentPayment(bool withWindow = true);
    /// The service's outcome for the last submission.
    void answer(bool ok, const QString &message, const QString &code);

    NavigationController *navigation() const;
    QQuickWindow *window() const { return m_window.get(); }
    QQuickItem *item(const QString &objectName) const;
    /// Whether each character of what the item shows stands to the right of the one before, as its text is shaped.
    bool readsLeftToRight(const QString &objectName) const;
    void click(const QString &objectName);
    void type(const QString &text);
    void loseWindow() { m_window.reset(); }

    std::vector<Told> outcomes() const;
    static bool waitFor(const std::function<bool()> &condition, int milliseconds = 3000);
    /// Lets what is queued and animated come to an end.
    static void settle(int milliseconds = 350);

    QStringList sent;
    /// What the last submission belongs to.
    std::shared_ptr<Attempt> attempt;

private:
    std::unique_ptr<QQuickWindow> m_window;
    CoreNetworking::ResponseBlock m_block;
    mutable std::mutex m_mutex;
    std::vector<Told> m_outcomes;
};

} // namespace kelpay

#include "Screens.h"

#include "device/HostProfile.h"
#include "platform/Dispatch.h"
#include "platform/UserDefaults.h"
#include "security/keychain/CoreKeychain.h"
#include "ui/components/RootViewController.h"
#include "ui/components/Storyboard.h"
#include "ui/payment/ViewUtils.h"

#include <QTest>
#include <QTextLayout>

namespace kelpay {

using namespace Qt::StringLiterals;

ScreenTest::ScreenTest() : m_window(std::make_unique<QQuickWindow>())
{
    m_window->setGeometry(0, 0, 375, 812);
    m_window->show();
    UserDefaults &defaults = UserDefaults::standard();
    for (const auto *key : {"tkn", "pym", "crn", "ard"})
        defaults.remove(QString::fromLatin1(key));
    defaults.setString(u"pcc"_s, u"501"_s);
    CoreKeychain().setString(u"1234"_s, u"mid"_s);
    HostProfile::shared().setPaymentStatusBlock([this](bool success, const QString &code, const QString &description,
                                                       const QString &reference, const QString &merchantReference) {
        const std::lock_guard lock(m_mutex);
        m_outcomes.push_back({success, code, description, reference, merchantReference, Dispatch::isMain()});
    });
}

ScreenTest::~ScreenTest()
{
    HostProfile::shared().setPaymentStatusBlock({});
    if (RootViewController::shared().presentedViewController())
        RootViewController::shared().dismiss(false);
    settle(20);
}

void ScreenTest::storeToken(const QJsonObject &changes)
{
    QJsonObject rd{{u"amn"_s, u"1250000"_s}, {u"t"_s, u"tok"_s},      {u"ta"_s, u"T1"_s},    {u"tb"_s, u"T2"_s},
                   {u"rn"_s, u"R9"_s},       {u"mn"_s, u"فروشگاه"_s}, {u"ttl"_s, u"خرید"_s}, {u"wb"_s, u"NA"_s}};
    for (auto change = changes.begin(); change != changes.end(); ++change)
        rd.insert(change.key(), change.value());
    const QJsonObject token{{u"rc"_s, 0}, {u"ard"_s, QJsonObject{{u"r"_s, u"77"_s}}}, {u"rd"_s, rd}};
    UserDefaults::standard().setData(u"tkn"_s, BaseClass::modelObject(token).archived());
}

void ScreenTest::storePaymentAnswer(const QJsonObject &answer)
{
    UserDefaults::standard().setData(u"pym"_s, BaseClassp::modelObject(answer).archived());
}

QJsonObject ScreenTest::paidAnswer()
{
    return {{u"rc"_s, 0},
            {u"ti"_s, 12},
            {u"st"_s, u"2026-11-22 10:00:00"_s},
            {u"rd"_s, QJsonObject{{u"urn"_s, u"U1"_s}, {u"mrn"_s, u"M1"_s}}}};
}

PaymentViewController *ScreenTest::presentPayment(bool withWindow)
{
    if (!withWindow)
        loseWindow();
    auto scene = ViewUtils::returnStoryboard().instantiateViewController(u"PaymentView"_s);
    auto *screen =
        qobject_cast<PaymentViewController *>(static_cast<NavigationController &>(*scene).topViewController());
    screen->setPaymentSender(
        [this](const Bytes &detail, const std::shared_ptr<Attempt> &of, CoreNetworking::ResponseBlock block) {
            sent.append(detail.toText());
            attempt = of;
            m_block = std::move(block);
        });
    ViewUtils::topMostViewController()->present(std::move(scene), true);
    settle();
    return screen;
}

void ScreenTest::answer(bool ok, const QString &message, const QString &code)
{
    // As in life: on a thread of the network.
    Dispatch::transfer([=, block = m_block, of = attempt] {
        of->asking(true, u"1234"_s);
        of->leave(true);
        of->answered(true, code, true);
        of->landed();
        block(ok, message, code);
    });
    settle(500);
}

NavigationController *ScreenTest::navigation() const
{
    return qobject_cast<NavigationController *>(RootViewController::shared().presentedViewController());
}

QQuickItem *ScreenTest::item(const QString &objectName) const
{
    std::vector<QQuickItem *> open{m_window->contentItem()};
    while (!open.empty()) {
        QQuickItem *candidate = open.back();
        open.pop_back();
        if (candidate->objectName() == objectName && candidate->isVisible())
            return candidate;
        for (QQuickItem *child : candidate->childItems())
            open.push_back(child);
    }
    return nullptr;
}

bool ScreenTest::readsLeftToRight(const QString &objectName) const
{
    const QQuickItem *shown = item(objectName);
    const QString text = shown ? shown->property("text").toString() : QString();
    QTextLayout layout(text, shown ? shown->property("font").value<QFont>() : QFont());
    layout.beginLayout();
    QTextLine line = layout.createLine();
    layout.endLayout();
    for (int position = 0; position < text.size(); ++position) {
        if (line.cursorToX(position + 1) <= line.cursorToX(position))
            return false;
    }
    return !text.isEmpty();
}

void ScreenTest::click(const QString &objectName)
{
    QQuickItem *target = item(objectName);
    ASSERT_TRUE(target) << qPrintable(objectName);
    const QPointF centre = target->mapToScene(QPointF(target->width() / 2, target->height() / 2));
    QTest::mouseClick(m_window.get(), Qt::LeftButton, {}, centre.toPoint());
    settle();
}

void ScreenTest::type(const QString &text)
{
    for (const QChar character : text)
        QTest::sendKeyEvent(QTest::Click, m_window.get(), Qt::Key_unknown, QString(character), Qt::NoModifier);
}

std::vector<Told> ScreenTest::outcomes() const
{
    const std::lock_guard lock(m_mutex);
    return m_outcomes;
}

bool ScreenTest::waitFor(const std::function<bool()> &condition, int milliseconds)
{
    return QTest::qWaitFor(condition, milliseconds);
}

void ScreenTest::settle(int milliseconds)
{
    QTest::qWait(milliseconds);
}

} // namespace kelpay

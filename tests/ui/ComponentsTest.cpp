#include "Screens.h"

#include "ui/components/Appearance.h"
#include "ui/components/Fonts.h"
#include "ui/components/ProgressOverlay.h"
#include "ui/components/Rehearsal.h"
#include "ui/components/RootViewController.h"
#include "ui/components/ScreenEngine.h"
#include "ui/components/Storyboard.h"
#include "ui/payment/VerificationViewController.h"
#include "ui/payment/ViewUtils.h"

#include <QFile>
#include <QFontInfo>
#include <QQmlEngine>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

class ComponentsTest : public ScreenTest
{
protected:
    static RootViewController &root() { return RootViewController::shared(); }
    static std::unique_ptr<ViewController> scene()
    {
        return ViewUtils::returnStoryboard().instantiateViewController(u"PaymentView"_s);
    }
};

TEST_F(ComponentsTest, presentsAndDismissesAlongTheChain)
{
    storeToken();
    EXPECT_EQ(ViewUtils::topMostViewController(), &root());
    int completions = 0;
    root().present(scene(), true, [&] { ++completions; });
    ASSERT_TRUE(waitFor([&] { return completions == 1; }));
    ViewController *first = root().presentedViewController();
    ASSERT_TRUE(first);
    EXPECT_EQ(first->presentingViewController(), &root());
    EXPECT_EQ(ViewUtils::topMostViewController(), first);

    first->present(scene(), false, [&] { ++completions; });
    ASSERT_TRUE(waitFor([&] { return completions == 2; }));
    EXPECT_EQ(ViewUtils::topMostViewController(), first->presentedViewController());

    ViewUtils::topMostViewController()->dismiss(true, [&] { ++completions; });
    ASSERT_TRUE(waitFor([&] { return completions == 3; }));
    EXPECT_EQ(ViewUtils::topMostViewController(), first);
    static_cast<NavigationController *>(first)->topViewController()->dismiss(false, [&] { ++completions; });
    ASSERT_TRUE(waitFor([&] { return completions == 4; }));
    root().dismiss(true, [&] { ++completions; });
    ASSERT_TRUE(waitFor([&] { return completions == 5; }));
    EXPECT_EQ(ViewUtils::topMostViewController(), &root());
    EXPECT_FALSE(ViewUtils::returnStoryboard().instantiateViewController(u"NoView"_s));
}

TEST_F(ComponentsTest, standsAtOnceForWhoWantsNoMotion)
{
    storeToken();
    for (const bool isMotionReduced : {true, false}) {
        Appearance::shared().pin({false, isMotionReduced, 1});
        bool stands = false;
        bool isGone = false;
        root().present(scene(), true, [&] { stands = true; });
        settle(60);
        EXPECT_EQ(stands, isMotionReduced);
        ASSERT_TRUE(item(u"payButton"_s));
        EXPECT_EQ(item(u"cancelButton"_s)->mapToScene({}).y() < 20, isMotionReduced);
        ASSERT_TRUE(waitFor([&] { return stands; }));
        root().dismiss(true, [&] { isGone = true; });
        settle(60);
        EXPECT_EQ(isGone, isMotionReduced);
        ASSERT_TRUE(waitFor([&] { return isGone; }));
    }
    Appearance::shared().pin({});
}

TEST_F(ComponentsTest, aControllersViewGoesBeforeItsMembers)
{
    struct Probe : VerificationViewController
    {
        explicit Probe(bool &hasView) : VerificationViewController(QUrl()), hadView(hasView) {}
        Probe(const Probe &) = delete;
        Probe &operator=(const Probe &) = delete;
        ~Probe() override { hadView = viewIfLoaded() != nullptr; }
        bool &hadView;
    };
    bool hadView = true;
    std::unique_ptr<ViewController> probe = std::make_unique<Probe>(hadView);
    ASSERT_TRUE(probe->view());
    probe.release()->deleteLater();
    ASSERT_TRUE(waitFor([&] { return !hadView; }));
}

TEST_F(ComponentsTest, goesWithTheHostsWindow)
{
    storeToken({{u"wb"_s, u"100"_s}});
    presentPayment();
    ProgressOverlay::show();
    settle(20);
    loseWindow();
    settle(100);
    EXPECT_EQ(ViewUtils::topMostViewController(), &root());
    ProgressOverlay::dismiss();
    EXPECT_TRUE(outcomes().empty());
}

/// However far it came, also where the host blocks the event loop meanwhile.
TEST_F(ComponentsTest, leavesNothingOfARehearsal)
{
    storeToken();
    const auto windows = QGuiApplication::allWindows();
    for (const int milliseconds : {0, 3, 10, 30, 60, 3000}) {
        Rehearsal rehearsal(u"PaymentView"_s, window(), [] { ProgressOverlay::show(); });
        QThread::msleep(20);
        const bool isOver = waitFor([&] { return rehearsal.isOver(); }, milliseconds);
        EXPECT_EQ(isOver, milliseconds > 1000);
        EXPECT_FALSE(navigation());
    }
    EXPECT_EQ(QGuiApplication::allWindows(), windows);
    EXPECT_FALSE(ScreenEngine::shared().incubationController());

    // The token fails before the overlay stands.
    ProgressOverlay::showBefore(u"PaymentView"_s);
    ProgressOverlay::dismiss();
    settle(300);
    EXPECT_FALSE(item(u"progressOverlay"_s));
    presentPayment();
    EXPECT_TRUE(item(u"payButton"_s));
    EXPECT_TRUE(outcomes().empty());
}

TEST_F(ComponentsTest, drawsWithTheDeployersFontsByTheNamesOfTheirFiles)
{
    const QTemporaryDir deployed;
    QFile::copy(u":/dev.kel.KelPay/CardDigits.ttf"_s, deployed.filePath(u"Deployed.ttf"_s));
    const QByteArray before = qgetenv("KELPAY_RESOURCES");
    qputenv("KELPAY_RESOURCES", QFile::encodeName(deployed.path()));
    loadFont(u"Deployed"_s);
    qputenv("KELPAY_RESOURCES", before);
    EXPECT_EQ(QFontInfo(QFont(u"Deployed"_s)).family(), Fonts::cardDigits());
}

TEST_F(ComponentsTest, opensAWindowOfItsOwnWhereTheHostHasNone)
{
    storeToken();
    presentPayment(false);
    ASSERT_TRUE(navigation());
    QQuickWindow *own = navigation()->viewIfLoaded()->window();
    ASSERT_TRUE(own);
    EXPECT_EQ(own->modality(), Qt::ApplicationModal);
    EXPECT_EQ(own->title(), navigation()->topViewController()->title());
    own->close();
    ASSERT_TRUE(waitFor([&] { return !navigation() && QGuiApplication::topLevelWindows().isEmpty(); }));
    ASSERT_EQ(outcomes().size(), 1U);
    EXPECT_EQ(outcomes()[0].code, u"2525342"_s);
}

TEST_F(ComponentsTest, givesTheHostItsFocusBack)
{
    QQuickItem field(window()->contentItem());
    field.forceActiveFocus();
    storeToken();
    presentPayment();
    EXPECT_NE(window()->activeFocusItem(), &field);
    navigation()->dismiss(true);
    settle();
    EXPECT_EQ(window()->activeFocusItem(), &field);
}

TEST_F(ComponentsTest, overlayLetsTheHostsInputThroughAndCoversOnlyScreens)
{
    struct Clicked : QQuickItem
    {
        explicit Clicked(QQuickItem *parent) : QQuickItem(parent)
        {
            setAcceptedMouseButtons(Qt::LeftButton);
            setSize(QSizeF(375, 812));
        }
        void mousePressEvent(QMouseEvent *) override { ++clicks; }
        int clicks = 0;
    } host(window()->contentItem());
    ProgressOverlay::show();
    ProgressOverlay::show(u"در حال بررسی پرداخت"_s, {});
    settle(50);
    ASSERT_TRUE(item(u"progressOverlay"_s));
    click(u"progressOverlay"_s);
    EXPECT_EQ(host.clicks, 1);
    ProgressOverlay::dismiss();
    settle(50);
    EXPECT_FALSE(item(u"progressOverlay"_s));

    storeToken();
    presentPayment();
    ProgressOverlay::show();
    settle(50);
    click(u"verifyButton"_s);
    EXPECT_EQ(navigation()->banner()->message(), QString());
    EXPECT_FALSE(item(u"verifyButton"_s)->isEnabled());
    click(u"cancelButton"_s);
    ASSERT_EQ(outcomes().size(), 1U);
    EXPECT_EQ(host.clicks, 1);
}

TEST_F(ComponentsTest, bannerShowsOneMessageAtATime)
{
    NotificationBanner banner;
    QSignalSpy lowered(&banner, &NotificationBanner::loweredChanged);
    banner.show(u"a"_s);
    banner.show(u"b"_s);
    EXPECT_EQ(banner.message(), u"a"_s);
    EXPECT_TRUE(banner.isLowered());
    settle(2000);
    EXPECT_TRUE(banner.isLowered());
    ASSERT_TRUE(waitFor([&] { return !banner.isLowered(); }, 1000));
    EXPECT_TRUE(banner.isAnimating());
    ASSERT_TRUE(waitFor([&] { return !banner.isAnimating(); }, 600));
    banner.show(u"c"_s);
    EXPECT_EQ(banner.message(), u"c"_s);
    EXPECT_EQ(lowered.size(), 3);
}

TEST_F(ComponentsTest, alertIsAnsweredOnce)
{
    AlertView alert;
    QStringList answers;
    alert.addButton(u"a"_s, [&] { answers += u"a"_s; });
    alert.setCancelButton(u"c"_s, [&] { answers += u"c"_s; });
    alert.press(0);
    EXPECT_TRUE(answers.isEmpty());
    alert.show(u"t"_s, u"m"_s);
    alert.press(1);
    EXPECT_TRUE(alert.isShown());
    alert.press(0);
    alert.pressCancel();
    EXPECT_EQ(answers, QStringList{u"a"_s});
    alert.show(u"t"_s, u"m"_s);
    alert.pressCancel();
    EXPECT_EQ(answers.size(), 2);
}

} // namespace
} // namespace kelpay

#include <KelPay/KelPayCore.h>

#include "device/HostProfile.h"
#include "device/IntegrityCheck.h"
#include "platform/Deployment.h"
#include "platform/Dispatch.h"
#include "platform/Json.h"
#include "platform/Log.h"
#include "platform/UrlSession.h"
#include "protocol/CoreNetworking.h"
#include "security/keychain/CoreKeychain.h"
#include "ui/components/Fonts.h"
#include "ui/components/ProgressOverlay.h"
#include "ui/components/RootViewController.h"
#include "ui/components/Storyboard.h"
#include "ui/components/ViewController.h"
#include "ui/payment/ViewUtils.h"

#include <QFutureWatcher>
#include <QGuiApplication>
#include <QJsonObject>
#include <QPromise>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

const auto paymentScene = u"PaymentView"_s;

bool hasScreen()
{
    return qobject_cast<QGuiApplication *>(QCoreApplication::instance()) != nullptr;
}

/// Over the host's window; where the host had one and destroyed it meanwhile, the screen is dropped.
void presentPaymentScreen(const std::shared_ptr<Attempt> &attempt, bool hostHadWindow)
{
    if (attempt->isWithdrawn())
        return;
    ProgressOverlay::dismiss();
    if (hostHadWindow && !RootViewController::hostHasWindow()) {
        qCWarning(logScreen, "the payment screen is dropped: the host destroyed its window");
        attempt->withdraw();
        attempt->abandoned();
        return;
    }
    auto payment = ViewUtils::returnStoryboard().instantiateViewController(paymentScene, QVariant::fromValue(attempt));
    if (payment)
        ViewUtils::topMostViewController()->present(std::move(payment), true);
}

void refuse(const char *reason)
{
    qCWarning(logPlatform, "no payment is started: %s", reason);
    HostProfile::shared().tell({.kind = PaymentEvent::Kind::Refused});
}

/// What a list's callback is given.
struct List
{
    bool ok = false;
    QVariant items = QVariantMap();
};

const auto internetPath = u"/3/Internet/get"_s;
const auto chargePath = u"/3/Charge/get"_s;

List fetchList(const QString &path)
{
    const UrlResult result = UrlSession::contents(Deployment::serviceUrl(path));
    const auto *response = std::get_if<UrlResponse>(&result);
    if (const auto *error = std::get_if<TransportError>(&result))
        qCWarning(logNetwork, "the list %s can't be fetched: %s", qUtf8Printable(path),
                  qUtf8Printable(error->localizedDescription));
    if (!response || response->body.isEmpty() || !response->body.isValidUtf8())
        return {};
    const QJsonDocument document = readJson(response->body, JsonUse::List);
    return {true, document.isNull() ? QVariant() : document.toVariant()};
}

void tellList(const QString &path, const KelPayCore::ListCallback &completion)
{
    const List list = fetchList(path);
    if (completion)
        completion(list.ok, list.items);
}

void tellListLater(const QString &path, QObject *context, KelPayCore::ListCallback completion)
{
    if (!context) {
        programmingError(
            u"a list that is fetched without blocking needs a context: give the object that waits for it"_s);
        return;
    }
    auto *watcher = new QFutureWatcher<List>(context);
    QObject::connect(watcher, &QFutureWatcher<List>::finished, context, [watcher, completion = std::move(completion)] {
        watcher->deleteLater();
        const List list = watcher->future().resultCount() > 0 ? watcher->result() : List(); // nobody could fetch it
        if (completion)
            completion(list.ok, list.items);
    });
    const auto promise = std::make_shared<QPromise<List>>();
    promise->start();
    watcher->setFuture(promise->future());
    Dispatch::transfer([promise, path] {
        promise->addResult(fetchList(path));
        promise->finish();
    });
}

} // namespace

KelPayCore::KelPayCore() : KelPayCore(std::make_shared<HostProfile>()) {}

KelPayCore::KelPayCore(std::shared_ptr<HostProfile> profile) : m_profile(std::move(profile)) {}

KelPayCore::~KelPayCore() = default;

QString KelPayCore::version()
{
    return Deployment::sdkVersion();
}

KelPayCore &KelPayCore::sharedInstance()
{
    // The screens know the profile, not this class; it lives for the process, so nobody owns it.
    static KelPayCore instance(std::shared_ptr<HostProfile>(&HostProfile::shared(), [](HostProfile *) {}));
    return instance;
}

std::unique_ptr<KelPayCore> KelPayCore::initWithMerchantID(const QString &merchantID)
{
    if (!CoreKeychain().setString(merchantID, u"mid"_s))
        qCWarning(logStore, "the merchant identifier can't be stored, payments can't start: see the line above");
    return std::make_unique<KelPayCore>();
}

void KelPayCore::clearKeys()
{
    for (const auto *entry : {"username", "panid", "exp", "password", "cvv2"})
        CoreKeychain(u"kehlpehy"_s).deleteEntryForKey(QString::fromLatin1(entry));
}

void KelPayCore::setProgrammingErrorHandler(ProgrammingErrorHandler handler)
{
    kelpay::setProgrammingErrorHandler(handler);
}

void KelPayCore::loadFontWithName(const QString &name)
{
    if (hasScreen())
        loadFont(name);
}

void KelPayCore::startPaymentWithMSISDN(const QString &msisdn, const QString &additionalData,
                                        const QString &paymentParams, StatusCallback completion)
{
    start(std::nullopt, msisdn, additionalData, paymentParams, std::move(completion));
}

void KelPayCore::start(const std::optional<QString> &merchantID, const QString &msisdn, const QString &additionalData,
                       const QString &paymentParams, StatusCallback completion)
{
    if (!hasScreen()) {
        programmingError(u"a payment needs screens: create a QGuiApplication before starting one"_s);
        return;
    }
    if (!Dispatch::isMain()) {
        refuse("it was not asked for on the application's main thread; hop there, with QMetaObject::invokeMethod say");
        return;
    }
    const auto attempt = Attempt::begin(additionalData);
    if (!attempt)
        return;
    // An application may run again after it quit.
    HostProfile::setClosed(false);
    Dispatch::setShuttingDown(false);
    // Not before the way is free: another payment may be reading it.
    if (merchantID)
        initWithMerchantID(*merchantID);
    ProgressOverlay::showBefore(paymentScene);
    if (IntegrityCheck::isSimulator()) {
        qCWarning(logDevice, "payments don't start on a simulated device");
        attempt->withdraw();
        attempt->abandoned();
        return;
    }
    if (completion)
        m_profile->setPaymentStatusBlock(std::move(completion));

    attempt->setSilenceListener([](Attempt::Silence silence) {
        if (silence == Attempt::Silence::Mistake)
            ProgressOverlay::dismiss();
        else
            ProgressOverlay::settle(u"ارتباط با سرویس پرداخت برقرار نشد.\nپرداختی انجام نشده است."_s);
    });
    const QString input = QStringList{msisdn, additionalData, paymentParams}.join("||"_L1);
    const auto receive = [attempt, profile = m_profile, hostHadWindow = RootViewController::hostHasWindow()](
                             bool ok, const QString &message, const QString &code) {
        if (ok) {
            Dispatch::main([attempt, hostHadWindow] { presentPaymentScreen(attempt, hostHadWindow); });
            return;
        }
        // The block that this payment was started with, whatever is started next.
        const auto report = profile->reporter();
        if (!attempt->end())
            return;
        // The overlay goes first: a host that starts its next payment inside the callback finds the way free.
        Dispatch::main([] { ProgressOverlay::dismiss(); });
        if (report(false, code, message, {}, {}))
            attempt->reported(code, false);
    };
    attempt->takeOff();
    CoreNetworking::sendInBackground(attempt, &CoreNetworking::sendTokenRequest, Bytes::fromText(input), receive);
}

bool KelPayCore::isBusy() const
{
    return Attempt::current() != nullptr;
}

void KelPayCore::abandon()
{
    const auto attempt = Attempt::current();
    if (attempt)
        attempt->withdraw();
    ProgressOverlay::dismiss();
    RootViewController::shared().abandonScreens();
    if (attempt)
        attempt->abandoned();
}

void KelPayCore::setObserver(Observer observer)
{
    HostProfile::shared().setObserver(std::move(observer));
}

std::vector<UnsettledAttempt> KelPayCore::unsettledAttempts()
{
    // Asked first: one that ends meanwhile is listed, as it should be.
    const auto current = Attempt::current();
    const bool isUnderWay = current && !current->hasEnded();
    auto attempts = AttemptLedger::shared().unsettled();
    if (isUnderWay)
        std::erase_if(attempts,
                      [&](const UnsettledAttempt &listed) { return listed.identifier == current->identifier(); });
    return attempts;
}

bool KelPayCore::settleAttempt(const QString &identifier)
{
    return AttemptLedger::shared().settle(identifier);
}

void KelPayCore::getInternetListWithCompletion(const ListCallback &completion)
{
    tellList(internetPath, completion);
}

void KelPayCore::getInternetListWithCompletion(QObject *context, ListCallback completion)
{
    tellListLater(internetPath, context, std::move(completion));
}

void KelPayCore::getChargeListWithCompletion(const ListCallback &completion)
{
    tellList(chargePath, completion);
}

void KelPayCore::getChargeListWithCompletion(QObject *context, ListCallback completion)
{
    tellListLater(chargePath, context, std::move(completion));
}

bool KelPayCore::ziaprod() const
{
    return m_profile->ziaprod();
}

/// The screens and requests read the shared instance's settings alone.
void KelPayCore::warnUnlessShared(const char *setting) const
{
    if (m_profile.get() != &HostProfile::shared())
        qCWarning(logPlatform, "%s is set on an instance that no payment reads: set it on sharedInstance()", setting);
}

void KelPayCore::setZiaprod(bool ziaprod)
{
    warnUnlessShared("ziaprod");
    m_profile->setZiaprod(ziaprod);
}

QString KelPayCore::bid() const
{
    return m_profile->bid();
}

void KelPayCore::setBid(const QString &bid)
{
    warnUnlessShared("bid");
    m_profile->setBid(bid);
}

QString KelPayCore::log() const
{
    return m_profile->log();
}

void KelPayCore::setLog(const QString &log)
{
    m_profile->setLog(log);
}

KelPayCore::StatusCallback KelPayCore::paymentStatusBlock() const
{
    return m_profile->paymentStatusBlock();
}

void KelPayCore::setPaymentStatusBlock(StatusCallback block)
{
    m_profile->setPaymentStatusBlock(std::move(block));
}

KelPayCore::Block KelPayCore::responseBlock() const
{
    return m_profile->responseBlock();
}

void KelPayCore::setResponseBlock(Block block)
{
    m_profile->setResponseBlock(std::move(block));
}

} // namespace kelpay

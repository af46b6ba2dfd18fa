#include "Driver.h"
#include "JsonLine.h"
#include "Session.h"
#include "ShopOptions.h"

#include <KelPay/KelPayCore.h>
#include <KelPay/Testing.h>
#ifdef KELPAY_SHOP_SANDBOX
#include <KelPay/KelPaySandbox.h>
#endif
#ifdef KELPAY_SHOP_WEBVIEW
#include <QtWebView>
#endif

#include <QDateTime>
#include <QDir>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QTextStream>
#include <QTimer>
#include <QWindow>

namespace {

void identify()
{
    QCoreApplication::setApplicationName(u"kelpay-shop"_s);
    QCoreApplication::setOrganizationDomain(u"example.org"_s);
    QCoreApplication::setApplicationVersion(QStringLiteral(KELPAY_SHOP_VERSION));
}

/// A list query needs no screen: it runs under a console application, also where no display is.
int printList(int &argc, char **argv, const QString &list)
{
    const QCoreApplication application(argc, argv);
    identify();
    const auto print = [](bool ok, const QVariant &items) {
        printLine({{u"ok"_s, ok}, {u"list"_s, QJsonValue::fromVariant(items)}});
    };
    auto &core = kelpay::KelPayCore::sharedInstance();
    if (list == u"internet"_s)
        core.getInternetListWithCompletion(print);
    else
        core.getChargeListWithCompletion(print);
    return 0;
}

JsonLine lineOf(const kelpay::UnsettledAttempt &attempt)
{
    const auto time = [](const QDateTime &when) { return when.toUTC().toString(Qt::ISODateWithMs); };
    return {{u"identifier"_s, attempt.identifier},     {u"merchant"_s, attempt.merchantID},
            {u"additional"_s, attempt.additionalData}, {u"amount"_s, attempt.amount},
            {u"begun"_s, time(attempt.begun)},         {u"sent"_s, time(attempt.sent)},
            {u"answered"_s, time(attempt.answered)},   {u"code"_s, attempt.code},
            {u"reportedCode"_s, attempt.reportedCode}};
}

/// What a shop asks its service about before it sells again. Needs no screen.
int printUnsettled(int &argc, char **argv, const ShopOptions &options)
{
    const QCoreApplication application(argc, argv);
    identify();
    if (options.settle)
        return kelpay::KelPayCore::settleAttempt(*options.settle) ? 0 : 3;
    for (const auto &attempt : kelpay::KelPayCore::unsettledAttempts())
        printLine(lineOf(attempt));
    return 0;
}

/// A shop would ask its service about these; this one says so.
void reconcile()
{
    for (const auto &attempt : kelpay::KelPayCore::unsettledAttempts())
        qWarning("kelpay-shop: the outcome of payment %s, \"%s\", is not known: ask the service, then --settle it",
                 qPrintable(attempt.identifier), qPrintable(attempt.additionalData));
}

void apply(const ShopOptions &options)
{
    auto &core = kelpay::KelPayCore::sharedInstance();
    core.setBid(options.bid);
    core.setZiaprod(options.ziaprod);
#ifdef KELPAY_SHOP_SANDBOX
    kelpay::sandbox::setSimulator(options.simulator);
    kelpay::sandbox::setClockRate(options.clockRate);
#endif
}

/// Prints what the device page shows once it is whole, and ends.
void printDevice(const Session &session, const ShopOptions &options)
{
    QObject::connect(
        &session, &Session::described, qApp,
        [&](const QStringList &names, const QStringList &values) {
            JsonLine line;
            for (qsizetype fact = 0; fact < names.size(); ++fact)
                line.append({names[fact], values[fact]});
            printLine(line);
            if (!options.screenshots.isEmpty() && QDir().mkpath(options.screenshots))
                kelpay::testing::Payer().screenshot(options.screenshots + u"/about.png"_s);
            QCoreApplication::quit();
        },
        Qt::SingleShotConnection);
    QTimer::singleShot(std::chrono::seconds(options.timeoutSeconds), qApp, [] { QCoreApplication::exit(3); });
}

int runShop(const ShopOptions &options)
{
    apply(options);
    reconcile();
    Session session;
    session.merchant = options.merchant;
    session.msisdn = options.msisdn;
    session.additional = options.additional;
    session.params = options.params.value_or(QString());
    session.about = options.about;
    if (options.about)
        printDevice(session, options);

    QQmlApplicationEngine engine;
    engine.addImportPath(u"qrc:/qt/qml"_s);
    engine.setInitialProperties({{u"session"_s, QVariant::fromValue(&session)}});
    engine.load(QUrl(u"qrc:/qt/qml/Shop/Main.qml"_s));
    if (engine.rootObjects().isEmpty())
        return 1;

    if (auto *window = qobject_cast<QWindow *>(engine.rootObjects().constFirst()); options.size.isValid())
        window->resize(options.size);

    Driver driver(options, &session);
    if (options.automatic)
        QTimer::singleShot(0, &driver, &Driver::start);
    return QGuiApplication::exec();
}

} // namespace

int main(int argc, char **argv)
{
    QStringList arguments;
    for (int index = 0; index < argc; ++index)
        arguments << QString::fromLocal8Bit(argv[index]);
    QString error;
    const auto options = ShopOptions::parse(arguments, error);
    if (!options) {
        if (error.isEmpty())
            return 0;
        QTextStream(stderr) << "kelpay-shop: " << error << "; see kelpay-shop --help" << Qt::endl;
        return 2;
    }
    if (options->list)
        return printList(argc, argv, *options->list);
    if (options->unsettled || options->settle)
        return printUnsettled(argc, argv, *options);

#ifdef KELPAY_SHOP_WEBVIEW
    QtWebView::initialize();
#endif

    using namespace Qt::StringLiterals;
    QGuiApplication application(argc, argv);
    identify();
    // The SDK's faces, for the shop's own texts too.
    for (const QString &face : {u"irsansbold"_s, u"IRANSansFaNum-Medium"_s, u"IRANSansMobile(FaNum)"_s})
        kelpay::KelPayCore::loadFontWithName(face);
    return runShop(*options);
}

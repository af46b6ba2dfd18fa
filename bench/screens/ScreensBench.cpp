// What the payment screen costs the eye: its first frame and its memory beside an empty window's, each in processes of
// their own, and one key in the card number while the card rules are long. Prints a line for each; SHORT where a reach
// is missed.

#include "platform/UserDefaults.h"
#include "records/BaseClass.h"
#include "ui/components/Fonts.h"
#include "ui/components/RootViewController.h"
#include "ui/components/Storyboard.h"
#include "ui/payment/CardForm.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QGuiApplication>
#include <QJsonObject>
#include <QProcess>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>

using namespace Qt::StringLiterals;

using namespace kelpay;

namespace {

const QString screenOption = u"--screen"_s;
const QString emptyOption = u"--empty"_s;

struct Sample
{
    double milliseconds = 0;
    double mebibytes = 0;
};

double residentMebibytes()
{
    QFile status(u"/proc/self/status"_s);
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray text = status.readAll();
    return text.mid(text.indexOf("VmRSS:") + 6).trimmed().split(' ').first().toDouble() / 1024;
}

void awaitFrame(QQuickWindow &window)
{
    QEventLoop loop;
    QObject::connect(&window, &QQuickWindow::frameSwapped, &loop, &QEventLoop::quit, Qt::QueuedConnection);
    loop.exec();
}

void showEmptyWindow(QQmlApplicationEngine &engine)
{
    engine.addImportPath(u"qrc:/qt/qml"_s);
    engine.load(QUrl(u"qrc:/qt/qml/ScreensBench/EmptyWindow.qml"_s));
    awaitFrame(*qobject_cast<QQuickWindow *>(engine.rootObjects().constFirst()));
}

/// The first frame in a process that has drawn one before, from the making of the engine on, and what the process holds
/// once it stands still.
int measureOne(bool isScreen)
{
    {
        QQuickWindow warm;
        warm.show();
        awaitFrame(warm);
    }
    const QJsonObject rd{{u"amn"_s, u"1250000"_s},
                         {u"ta"_s, u"NA"_s},
                         {u"mn"_s, u"فروشگاه نمونه"_s},
                         {u"ttl"_s, u"خرید"_s},
                         {u"wb"_s, u"NA"_s}};
    UserDefaults::standard().setData(u"tkn"_s, BaseClass::modelObject(QJsonObject{{u"rd"_s, rd}}).archived());

    QElapsedTimer timer;
    timer.start();
    if (isScreen) {
        RootViewController::shared().present(Storyboard::main().instantiateViewController(u"PaymentView"_s), false);
        const QWindowList windows = QGuiApplication::topLevelWindows();
        awaitFrame(*qobject_cast<QQuickWindow *>(windows.constLast()));
    } else {
        showEmptyWindow(*new QQmlApplicationEngine);
    }
    const double milliseconds = static_cast<double>(timer.nsecsElapsed()) / 1e6;
    QTest::qWait(500);
    std::printf("%f %f\n", milliseconds, residentMebibytes());
    std::fflush(stdout);
    std::_Exit(0);
}

Sample runOne(const QString &option, const QString &state)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"XDG_DATA_HOME"_s, state);
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(QCoreApplication::applicationFilePath(), {option});
    process.waitForFinished(20'000);
    const QByteArrayList numbers = process.readAllStandardOutput().trimmed().split(' ');
    return numbers.size() == 2 ? Sample{numbers[0].toDouble(), numbers[1].toDouble()} : Sample{};
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

bool printLine(bool isReached, const char *text)
{
    std::printf("%-6s%s\n", isReached ? "ok" : "SHORT", text);
    return isReached;
}

bool benchFirstFrame()
{
    constexpr int rounds = 11;
    const QTemporaryDir state;
    std::vector<double> screenTime, emptyTime, screenMemory, emptyMemory;
    for (int round = 0; round < rounds; ++round) {
        const Sample screen = runOne(screenOption, state.path());
        const Sample empty = runOne(emptyOption, state.path());
        screenTime.push_back(screen.milliseconds);
        emptyTime.push_back(empty.milliseconds);
        screenMemory.push_back(screen.mebibytes);
        emptyMemory.push_back(empty.mebibytes);
    }
    const double ours = median(screenTime);
    const double theirs = median(emptyTime);
    const double more = median(screenMemory) - median(emptyMemory);
    const bool isMeasured = ours > 0 && theirs > 0;
    const bool isFast = printLine(
        isMeasured && ours <= 1.3 * theirs,
        qPrintable(u"first frame of the payment screen / empty window     %1 ms against %2 ms: %3 times, reach 1.30"_s
                       .arg(ours, 8, 'f', 2)
                       .arg(theirs, 8, 'f', 2)
                       .arg(ours / theirs, 5, 'f', 2)));
    const bool isSmall =
        printLine(isMeasured && more <= 8,
                  qPrintable(u"memory over the empty window                         %1 MiB over %2 MiB, reach 8"_s
                                 .arg(more, 8, 'f', 2)
                                 .arg(median(emptyMemory), 0, 'f', 1)));
    return isFast && isSmall;
}

/// Microseconds for one digit more, with card rules of so many entries, the fastest of many.
double keystroke(int entries)
{
    QString rules;
    for (int entry = 0; entry < entries; ++entry)
        rules += u"%1;59;0;5000000000|"_s.arg(900000 + entry % 90000);
    CardForm form;
    // Listed, and out of its range: every look-up runs.
    rules += u"603799;5;0;10|603799;59;0;20|"_s;
    form.setTerms({u"T1"_s, rules, u"1250000"_s});
    form.setCardNumber(u"60379912"_s);
    double fastest = 1e9;
    for (int round = 0; round < 200; ++round) {
        QElapsedTimer timer;
        timer.start();
        form.acceptsText(CardForm::CardNumber, u"603799123"_s);
        fastest = std::min(fastest, static_cast<double>(timer.nsecsElapsed()) / 1e3);
    }
    return fastest;
}

bool benchKeystroke()
{
    const double few = keystroke(1'000);
    const double many = keystroke(10'000);
    return printLine(many < 1'000 && many < 13 * few,
                     qPrintable(u"a key in the card number, 10,000 rules / 1,000        %1 us against %2 us: %3 times, "
                                u"reach 1,000 us and 13 times"_s.arg(many, 8, 'f', 1)
                                    .arg(few, 8, 'f', 1)
                                    .arg(many / few, 5, 'f', 1)));
}

} // namespace

int main(int argc, char **argv)
{
    for (const auto &[name, value] : {std::pair("QT_QPA_PLATFORM", "offscreen"), {"QT_QUICK_BACKEND", "software"}})
        qputenv(name, value);
    QGuiApplication application(argc, argv);
    QCoreApplication::setApplicationName(u"screens_bench"_s);
    QCoreApplication::setOrganizationDomain(u"bench.kelpay.example"_s);
    loadFonts();
    const QStringList arguments = application.arguments();
    if (arguments.contains(screenOption) || arguments.contains(emptyOption))
        return measureOne(arguments.contains(screenOption));
    const bool isFast = benchFirstFrame();
    return benchKeystroke() && isFast ? 0 : 1;
}

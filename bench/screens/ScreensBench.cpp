// What the payment screen costs the eye and the host: its first frame, cold, warmed and again, beside an empty
// window's; the pauses of the host's event loop; memory; the host's start. Each in processes of their own. And one key
// in the card number while the card rules are long. Prints a line for each; SHORT where a reach is missed.

#include "platform/UserDefaults.h"
#include "records/BaseClass.h"
#include "ui/components/Fonts.h"
#include "ui/components/ProgressOverlay.h"
#include "ui/components/RootViewController.h"
#include "ui/components/Storyboard.h"
#include "ui/payment/CardForm.h"

#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QGuiApplication>
#include <QHash>
#include <QJsonObject>
#include <QProcess>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <functional>

using namespace Qt::StringLiterals;

using namespace kelpay;

namespace {

const auto scene = u"PaymentView"_s;

/// What a process of its own measures.
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

QQuickWindow &topWindow()
{
    return *qobject_cast<QQuickWindow *>(QGuiApplication::topLevelWindows().constLast());
}

void openScreen()
{
    RootViewController::shared().present(Storyboard::main().instantiateViewController(scene), false);
    awaitFrame(topWindow());
}

void closeScreen()
{
    RootViewController::shared().presentedViewController()->dismiss(false);
    QTest::qWait(5);
}

double millisecondsOf(const std::function<void()> &task)
{
    QElapsedTimer timer;
    timer.start();
    task();
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

/// What a payment does until its token is there; the longest time in which the host's event loop did not turn.
double awaitToken()
{
    QElapsedTimer sinceTurn;
    double longest = 0;
    QTimer turn;
    const auto look = [&] {
        longest = std::max(longest, static_cast<double>(sinceTurn.nsecsElapsed()) / 1e6);
        sinceTurn.start();
    };
    QObject::connect(&turn, &QTimer::timeout, &turn, look);
    sinceTurn.start();
    turn.start(0);
    ProgressOverlay::showBefore(scene);
    look();
    QTest::qWait(600);
    look();
    return longest;
}

/// In a process that has drawn a frame before. Memory is what it holds once it stands still.
Sample measure(const QString &what)
{
    QQuickWindow host;
    host.resize(440, 800);
    host.show();
    awaitFrame(host);
    const QJsonObject rd{{u"amn"_s, u"1250000"_s},
                         {u"ta"_s, u"NA"_s},
                         {u"mn"_s, u"فروشگاه نمونه"_s},
                         {u"ttl"_s, u"خرید"_s},
                         {u"wb"_s, u"NA"_s}};
    UserDefaults::standard().setData(u"tkn"_s, BaseClass::modelObject(QJsonObject{{u"rd"_s, rd}}).archived());

    Sample sample;
    if (what == u"warmed"_s || what == u"pauses"_s) {
        const double longest = awaitToken();
        sample.milliseconds = what == u"pauses"_s ? longest : millisecondsOf([&] {
            ProgressOverlay::dismiss();
            RootViewController::shared().present(Storyboard::main().instantiateViewController(scene), false);
            awaitFrame(host);
        });
        return sample;
    }
    host.destroy();
    if (what == u"faces"_s || what == u"memory"_s)
        Fonts::text();
    if (what == u"empty"_s || what == u"faces"_s) {
        sample.milliseconds = millisecondsOf([] { showEmptyWindow(*new QQmlApplicationEngine); });
    } else if (what == u"growth"_s) {
        for (int opening = 0; opening < 500; ++opening) {
            openScreen();
            closeScreen();
            if (opening == 50)
                sample.mebibytes = -residentMebibytes();
        }
    } else {
        sample.milliseconds = millisecondsOf(openScreen);
        if (what == u"second"_s) {
            QTest::qWait(300);
            closeScreen();
            sample.milliseconds = millisecondsOf(openScreen);
        }
    }
    QTest::qWait(500);
    sample.mebibytes += residentMebibytes();
    return sample;
}

QByteArray outputOf(const QString &program, const QStringList &arguments, const QProcessEnvironment &environment)
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(program, arguments);
    process.waitForFinished(60'000);
    return process.readAllStandardOutput().trimmed();
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/// Medians of what several programs print, run in turns; 0 where one fails.
class Turns
{
public:
    explicit Turns(QProcessEnvironment environment = QProcessEnvironment::systemEnvironment())
        : m_environment(std::move(environment))
    {
        m_environment.insert(u"XDG_DATA_HOME"_s, m_state.path());
    }

    void run(const QStringList &measures, int rounds)
    {
        for (int round = 0; round < rounds; ++round) {
            for (const QString &measure : measures)
                add(measure, outputOf(QCoreApplication::applicationFilePath(), {measure}, m_environment));
        }
    }
    void add(const QString &measure, const QByteArray &output)
    {
        const QByteArrayList numbers = output.split(' ');
        m_milliseconds[measure].push_back(numbers.value(0).toDouble());
        m_mebibytes[measure].push_back(numbers.value(1).toDouble());
    }
    double milliseconds(const QString &measure) const { return median(m_milliseconds.value(measure)); }
    double mebibytes(const QString &measure) const { return median(m_mebibytes.value(measure)); }

private:
    QTemporaryDir m_state;
    QProcessEnvironment m_environment;
    QHash<QString, std::vector<double>> m_milliseconds;
    QHash<QString, std::vector<double>> m_mebibytes;
};

bool printLine(bool isReached, const QString &text)
{
    std::printf("%-6s%s\n", isReached ? "ok" : "SHORT", qPrintable(text));
    std::fflush(stdout);
    return isReached;
}

bool printRatio(const QString &title, double ours, double theirs, double reach)
{
    return printLine(ours > 0 && theirs > 0 && ours <= reach * theirs,
                     u"%1 %2 ms against %3 ms: %4 times, reach %5"_s.arg(title, -52)
                         .arg(ours, 8, 'f', 2)
                         .arg(theirs, 8, 'f', 2)
                         .arg(theirs > 0 ? ours / theirs : 0, 5, 'f', 2)
                         .arg(reach, 0, 'f', 2));
}

bool printMore(const QString &title, double more, double base, const QString &unit, double reach)
{
    return printLine(base > 0 && more <= reach, u"%1 %2 %4 over %3 %4, reach %5"_s.arg(title, -52)
                                                    .arg(more, 8, 'f', 2)
                                                    .arg(base, 0, 'f', 1)
                                                    .arg(unit)
                                                    .arg(reach));
}

bool benchFirstFrame()
{
    Turns turns;
    turns.run({u"empty"_s, u"faces"_s, u"warmed"_s, u"cold"_s, u"second"_s, u"pauses"_s, u"memory"_s}, 11);
    turns.run({u"growth"_s}, 1);
    const double empty = turns.milliseconds(u"empty"_s);
    bool isReached = printRatio(u"first frame, warmed / empty window"_s, turns.milliseconds(u"warmed"_s), empty, 0.5);
    isReached &= printRatio(u"first frame, cold / empty window"_s, turns.milliseconds(u"cold"_s), empty, 1.7);
    isReached &= printRatio(u"second opening / empty window"_s, turns.milliseconds(u"second"_s), empty, 0.4);
    isReached &= printMore(u"longest pause of the host while the token travels"_s, turns.milliseconds(u"pauses"_s),
                           empty, u"ms"_s, 8);
    const double memory = turns.mebibytes(u"faces"_s);
    isReached &= printMore(u"memory over the empty window, faces in both"_s, turns.mebibytes(u"memory"_s) - memory,
                           memory, u"MiB"_s, 5);
    isReached &= printMore(u"growth from 50 to 500 openings"_s, turns.mebibytes(u"growth"_s), memory, u"MiB"_s, 0.5);
    return isReached;
}

/// The same on a display, where Mesa draws what a graphics processor would.
bool benchOpenGl()
{
    const QString program = QStandardPaths::findExecutable(u"Xvfb"_s);
    if (program.isEmpty()) {
        std::puts("      OpenGL is left out: there is no Xvfb (package xvfb)");
        return true;
    }
    QProcess server;
    server.start(program, {u"-displayfd"_s, u"1"_s, u"-screen"_s, u"0"_s, u"1280x1024x24"_s});
    server.waitForReadyRead(10'000);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(u"QT_QUICK_BACKEND"_s);
    for (const auto &[name, value] : {std::pair(u"QT_QPA_PLATFORM"_s, u"xcb"_s),
                                      {u"QSG_RHI_BACKEND"_s, u"opengl"_s},
                                      {u"LIBGL_ALWAYS_SOFTWARE"_s, u"1"_s},
                                      {u"DISPLAY"_s, u':' + QString::fromLatin1(server.readLine().trimmed())}})
        environment.insert(name, value);
    Turns turns(environment);
    turns.run({u"empty"_s, u"warmed"_s}, 11);
    server.terminate();
    server.waitForFinished();
    return printRatio(u"first frame, warmed / empty window, OpenGL"_s, turns.milliseconds(u"warmed"_s),
                      turns.milliseconds(u"empty"_s), 0.8);
}

bool benchStart()
{
    const QDir folder(QCoreApplication::applicationDirPath());
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"QT_LOGGING_RULES"_s, u"kelpay.*=false"_s);
    Turns turns;
    for (int round = 0; round < 31; ++round) {
        for (const QString &host : {u"kelpay_host_without"_s, u"kelpay_host_with"_s})
            turns.add(host, outputOf(folder.filePath(host), {}, environment));
    }
    const double without = turns.milliseconds(u"kelpay_host_without"_s);
    return printMore(u"host start with the SDK linked"_s, turns.milliseconds(u"kelpay_host_with"_s) - without, without,
                     u"ms"_s, 0.5);
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
    return printLine(
        many < 1'000 && many < 13 * few,
        u"a key in the card number, 10,000 rules / 1,000       %1 us against %2 us: %3 times, reach 1,000 us "
        u"and 13 times"_s.arg(many, 8, 'f', 1)
            .arg(few, 8, 'f', 1)
            .arg(many / few, 5, 'f', 1));
}

} // namespace

int main(int argc, char **argv)
{
    for (const auto &[name, value] : {std::pair("QT_QPA_PLATFORM", "offscreen"), {"QT_QUICK_BACKEND", "software"}}) {
        if (argc < 2)
            qputenv(name, value);
    }
    QGuiApplication application(argc, argv);
    QCoreApplication::setApplicationName(u"screens_bench"_s);
    QCoreApplication::setOrganizationDomain(u"bench.kelpay.example"_s);
    if (argc > 1) {
        const Sample sample = measure(QString::fromLatin1(argv[1]));
        std::printf("%f %f\n", sample.milliseconds, sample.mebibytes);
        std::fflush(stdout);
        std::_Exit(0);
    }
    bool isReached = benchFirstFrame();
    isReached &= benchOpenGl();
    isReached &= benchStart();
    isReached &= benchKeystroke();
    return isReached ? 0 : 1;
}

// What a host waits for when it starts: its application object. Built twice, with the SDK linked and without.

#include <QElapsedTimer>
#include <QGuiApplication>

#include <cstdio>

int main(int argc, char **argv)
{
    QElapsedTimer timer;
    timer.start();
    const QGuiApplication application(argc, argv);
    std::printf("%f\n", static_cast<double>(timer.nsecsElapsed()) / 1e6);
}

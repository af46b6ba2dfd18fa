// A host in QML alone: main.qml is all there is to it.

#include <QGuiApplication>
#include <QQmlApplicationEngine>

using namespace Qt::StringLiterals;

int main(int argc, char **argv)
{
    QGuiApplication application(argc, argv);
    QGuiApplication::setApplicationName(u"kelpay-qml"_s);
    QGuiApplication::setOrganizationDomain(u"example.org"_s);
    QGuiApplication::setApplicationVersion(u"1.0"_s);

    const QQmlApplicationEngine engine(QUrl(u"qrc:/main.qml"_s));
    return engine.rootObjects().isEmpty() ? 1 : QGuiApplication::exec();
}

// The smallest host: takes one payment of 150,000 rials and prints its outcome. The payment screens open in a window of
// their own, because this host has none.

#include <KelPay/KelPayCore.h>

#include <QGuiApplication>
#include <QTextStream>

int main(int argc, char **argv)
{
    QGuiApplication application(argc, argv);
    QGuiApplication::setApplicationName(QStringLiteral("kelpay-minimal"));
    QGuiApplication::setOrganizationDomain(QStringLiteral("example.org"));
    QGuiApplication::setApplicationVersion(QStringLiteral("1.0"));
    QGuiApplication::setQuitOnLastWindowClosed(false);

    kelpay::KelPayCore::initWithMerchantID(QStringLiteral("1001"));
    kelpay::KelPayCore::sharedInstance().startPaymentWithMSISDN(
        QStringLiteral("09120000000"), QStringLiteral("order 17"), QStringLiteral("724|150000|Books"),
        [&](bool success, const QString &code, const QString &description, const QString &reference, const QString &) {
            QTextStream(stdout) << (success ? "paid, tracking number " + reference : code + ": " + description)
                                << Qt::endl;
            QMetaObject::invokeMethod(&application, &QGuiApplication::quit, Qt::QueuedConnection);
        });
    return QGuiApplication::exec();
}

// The smallest host: takes one payment of 150,000 rials and prints its outcome. The payment screens open in a window of
// their own, because this host has none.

#include <KelPay/KelPayCore.h>

#include <QGuiApplication>
#include <QTextStream>

using namespace Qt::StringLiterals;

int main(int argc, char **argv)
{
    QGuiApplication application(argc, argv);
    QGuiApplication::setApplicationName(u"kelpay-minimal"_s);
    QGuiApplication::setOrganizationDomain(u"example.org"_s);
    QGuiApplication::setApplicationVersion(u"1.0"_s);
    QGuiApplication::setQuitOnLastWindowClosed(false);

    kelpay::KelPayCore::initWithMerchantID(u"1001"_s);
    kelpay::KelPayCore::sharedInstance().startPaymentWithMSISDN(
        u"09120000000"_s, u"order 17"_s, u"724|150000|Books"_s,
        [&](bool success, const QString &code, const QString &description, const QString &reference, const QString &) {
            QTextStream(stdout) << (success ? "paid, tracking number " + reference : code + ": " + description)
                                << Qt::endl;
            QMetaObject::invokeMethod(&application, &QGuiApplication::quit, Qt::QueuedConnection);
        });
    return QGuiApplication::exec();
}

// The smallest host: takes one payment of 150,000 rials, prints its outcome, and ends with 0 when it was paid. The
// payment screens open in a window of their own, because this host has none.

#include <KelPay/KelPayCore.h>

#include <QGuiApplication>
#include <QTextStream>

using namespace Qt::StringLiterals;
using kelpay::KelPayCore;

namespace {

/// May be called on any thread.
void tell(bool success, const QString &code, const QString &description, const QString &reference, const QString &)
{
    QTextStream(stdout) << (success ? u"paid, tracking number "_s + reference : code + u": "_s + description)
                        << Qt::endl;
    QMetaObject::invokeMethod(
        qApp, [success] { QGuiApplication::exit(success ? 0 : 1); }, Qt::QueuedConnection);
}

} // namespace

int main(int argc, char **argv)
{
    const QGuiApplication application(argc, argv);
    QGuiApplication::setApplicationName(u"kelpay-minimal"_s);
    QGuiApplication::setOrganizationDomain(u"example.org"_s);
    QGuiApplication::setApplicationVersion(u"1.0"_s);
    QGuiApplication::setQuitOnLastWindowClosed(false);

    KelPayCore::initWithMerchantID(u"1001"_s);
    KelPayCore::sharedInstance().startPaymentWithMSISDN(u"09120000000"_s, u"order 17"_s, u"724|150000|Books"_s, tell);
    return QGuiApplication::exec();
}

#pragma once

#include <QSize>
#include <QString>
#include <QStringList>

#include <optional>

using namespace Qt::StringLiterals;

/// The command line of kelpay-shop, with a working default for everything.
struct ShopOptions
{
    QString merchant = u"1001"_s;
    QString msisdn = u"09120000000"_s;
    QString additional = u"سفارش ۱۷"_s;
    std::optional<QString> params; ///< The basket's, when absent.
    int timeoutSeconds = 60;
    QString bid;
    bool ziaprod = false;

    bool automatic = false;
    QString card = u"6037991234567893"_s;
    QString pin = u"12345"_s;
    QString cvv2 = u"123"_s;
    QString expiry = u"05/09"_s;
    std::optional<int> savedRow; ///< A row of the saved-card picker, whose heading is row 0.
    bool wallet = false;
    bool cancel = false;
    bool verify = false;
    bool idle = false;
    QString screenshots;
    QString input = u"pointer"_s; ///< How --auto reaches things; see InputMeans.
    QSize size;                   ///< The window's, where given.

    bool simulator = false;
    double clockRate = 1;

    bool unsettled = false;        ///< Print the payments whose outcome is not known, instead of the shop.
    std::optional<QString> settle; ///< One of them that is known now.

    bool about = false;          ///< "About this device", printed once it is whole.
    std::optional<QString> list; ///< "internet" or "charge": a list query instead of the shop.

    /// Reads the arguments. On bad usage the result is empty and `error` says what is wrong; on --help the result is
    /// empty and `error` too, and the help has been printed.
    static std::optional<ShopOptions> parse(const QStringList &arguments, QString &error);
};

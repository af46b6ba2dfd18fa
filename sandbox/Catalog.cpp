#include "Catalog.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>

namespace kelpay::sandbox {

using namespace Qt::StringLiterals;

namespace {

QByteArray toJson(const QString &listName, const QJsonArray &operators)
{
    return QJsonDocument(QJsonObject{{"rc"_L1, 0}, {"ds"_L1, u"موفق"_s}, {listName, operators}})
        .toJson(QJsonDocument::Compact);
}

QJsonObject package(int code, const QString &title, int days, qint64 megabytes, qint64 amount)
{
    return {
        {"code"_L1, code}, {"title"_L1, title}, {"days"_L1, days}, {"megabytes"_L1, megabytes}, {"amount"_L1, amount}};
}

QByteArray page(const QString &title, const QString &body)
{
    return uR"(<!DOCTYPE html>
<html lang="fa" dir="rtl">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>%1</title>
<style>
:root { color-scheme: light dark; }
body { font: 1rem/1.9 "Vazirmatn UI FD", Vazirmatn, Tahoma, sans-serif; max-width: 32rem; margin: 2rem auto; padding: 0 1rem; }
h1 { font-size: 1.25rem; }
dl { display: grid; grid-template-columns: max-content 1fr; gap: .25rem 1rem; }
dt { opacity: .7; }
dd { margin: 0; overflow-wrap: anywhere; }
</style>
</head>
<body>
<main>
<h1>%1</h1>
%2
</main>
</body>
</html>
)"_s.arg(title.toHtmlEscaped(), body)
        .toUtf8();
}

QString row(const QString &name, const QString &value)
{
    return u"<dt>%1</dt><dd>%2</dd>\n"_s.arg(name, value.toHtmlEscaped());
}

} // namespace

QByteArray internetList()
{
    static const QByteArray list =
        toJson(u"packages"_s,
               {QJsonObject{{"operator"_L1, u"اپراتور یک"_s},
                            {"items"_L1, QJsonArray{package(1101, u"یک روزه ۱ گیگابایت"_s, 1, 1024, 75000),
                                                    package(1102, u"هفتگی ۵ گیگابایت"_s, 7, 5120, 240000),
                                                    package(1103, u"ماهانه ۲۰ گیگابایت"_s, 30, 20480, 890000)}}},
                QJsonObject{{"operator"_L1, u"اپراتور دو"_s},
                            {"items"_L1, QJsonArray{package(1201, u"شبانه ۳ گیگابایت"_s, 1, 3072, 60000),
                                                    package(1202, u"سه ماهه ۶۰ گیگابایت"_s, 90, 61440, 2150000)}}}});
    return list;
}

QByteArray chargeList()
{
    static const QByteArray list =
        toJson(u"charges"_s, {QJsonObject{{"operator"_L1, u"اپراتور یک"_s},
                                          {"code"_L1, 2100},
                                          {"amounts"_L1, QJsonArray{10000, 20000, 50000, 100000, 200000}}},
                              QJsonObject{{"operator"_L1, u"اپراتور دو"_s},
                                          {"code"_L1, 2200},
                                          {"amounts"_L1, QJsonArray{20000, 50000, 100000, 500000}}}});
    return list;
}

QByteArray verificationPage(const Purchase &purchase)
{
    const QString amount = QLocale(QLocale::Persian).toString(static_cast<qlonglong>(purchase.amount)) + u" ریال"_s;
    return page(
        u"پذیرنده معتبر است"_s,
        u"<p>این پرداخت را پذیرنده‌ی زیر درخواست کرده است.</p>\n<dl>\n"_s +
            row(u"نام پذیرنده"_s, purchase.merchantName) + row(u"کد پذیرنده"_s, purchase.merchantId) +
            row(u"شرح"_s, purchase.title) + row(u"مبلغ"_s, amount) + row(u"شماره مرجع"_s, purchase.reference) +
            u"</dl>"_s);
}

QByteArray unknownMerchantPage()
{
    return page(u"پذیرنده یافت نشد"_s, u"<p>این پیوند به هیچ پرداختی تعلق ندارد. پرداخت را ادامه ندهید.</p>"_s);
}

} // namespace kelpay::sandbox

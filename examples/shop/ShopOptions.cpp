#include "ShopOptions.h"

#include <QCommandLineParser>
#include <QRegularExpression>
#include <QTextStream>

namespace {

using Option = QCommandLineOption;

/// Fills the options one by one; the first mistake stays.
class Reader
{
public:
    Reader(const QCommandLineParser &parser, QString &error) : m_parser(parser), m_error(error) {}

    bool isSet(const char *name) const { return m_parser.isSet(QString::fromLatin1(name)); }
    QString value(const char *name) const { return m_parser.value(QString::fromLatin1(name)); }

    void text(const char *name, QString &target, const char *pattern = nullptr, const char *shape = nullptr)
    {
        if (!isSet(name))
            return;
        target = value(name);
        const auto whole = QRegularExpression::anchoredPattern(QString::fromLatin1(pattern ? pattern : ".*"));
        if (!QRegularExpression(whole).match(target).hasMatch())
            fail(u"--%1 takes %2"_s.arg(QString::fromLatin1(name), QString::fromLatin1(shape)));
    }

    template <class Number> void number(const char *name, Number &target, Number minimum, const char *shape)
    {
        if (!isSet(name))
            return;
        bool ok = false;
        const double read = value(name).toDouble(&ok);
        target = static_cast<Number>(read);
        if (!ok || static_cast<double>(target) != read || target < minimum)
            fail(u"--%1 takes %2"_s.arg(QString::fromLatin1(name), QString::fromLatin1(shape)));
    }

    void fail(const QString &message)
    {
        if (m_error.isEmpty())
            m_error = message;
    }

private:
    const QCommandLineParser &m_parser;
    QString &m_error;
};

void describe(QCommandLineParser &parser)
{
    const auto option = [&](const char *name, const char *text, const char *value = "") {
        parser.addOption({QString::fromLatin1(name), QString::fromLatin1(text), QString::fromLatin1(value)});
    };
    parser.setApplicationDescription(u"A shop that pays with KelPay."_s);
    parser.addHelpOption();
    option("merchant", "Merchant identifier.", "ID");
    option("msisdn", "The payer's mobile number; the sandbox's magic numbers are in docs/sandbox.md.", "N");
    option("additional", "Additional data of the payment.", "TEXT");
    option("params", "Payment parameters, CODE|AMOUNT|TITLE; the basket's by default.", "TEXT");
    option("timeout", "How long --auto waits for the outcome.", "SECONDS");
    option("bid", "Application identifier override.", "ID");
    option("ziaprod", "Set the ziaprod flag.");
    option("auto", "Drive the screens with real input and print the outcome as one line of JSON.");
    option("card", "Card number to type.", "N");
    option("pin", "PIN to type.", "N");
    option("cvv2", "CVV2 to type where it is asked for.", "N");
    option("expiry", "Expiry date to pick where it is asked for.", "YY/MM");
    option("saved", "Pick this row of the saved cards instead of typing; row 0 is the heading.", "ROW");
    option("wallet", "Pay with the wallet when it is offered.");
    option("cancel", "Cancel on the payment screen.");
    option("verify", "Touch the merchant-verification link first.");
    option("idle", "Open the payment screen and touch nothing.");
    option("screenshots", "Save a PNG of every screen into this folder.", "DIR");
    option("input", "How --auto reaches things: pointer, touch, keyboard, accessibility or on-screen.", "MEANS");
    option("size", "The window's size, for example 320x568.", "WxH");
    option("unsettled", "Print the payments whose outcome this application was not told, instead of opening the shop.");
    option("settle", "One of them is known now: it is listed no more.", "ID");
    option("list", "Print a product list, internet or charge, instead of opening the shop.", "LIST");
#ifdef KELPAY_SHOP_SANDBOX
    option("about", "Open \"About this device\" and print it as one line of JSON (sandbox builds).");
    option("simulator", "The integrity check reports a simulated device (sandbox builds).");
    option("clock-rate", "The countdown runs N times faster (sandbox builds).", "N");
#endif
}

} // namespace

std::optional<ShopOptions> ShopOptions::parse(const QStringList &arguments, QString &error)
{
    QCommandLineParser parser;
    describe(parser);
    if (!parser.parse(arguments)) {
        error = parser.errorText();
        return std::nullopt;
    }
    if (parser.isSet(u"help"_s)) {
        QTextStream(stderr) << parser.helpText();
        return std::nullopt;
    }

    ShopOptions options;
    Reader reader(parser, error);
    if (!parser.positionalArguments().isEmpty())
        reader.fail(u"\"%1\" is no option"_s.arg(parser.positionalArguments().first()));
    reader.text("merchant", options.merchant);
    reader.text("msisdn", options.msisdn);
    reader.text("additional", options.additional);
    reader.text("bid", options.bid);
    reader.text("card", options.card, "[0-9]*", "digits");
    reader.text("pin", options.pin, "[0-9]*", "digits");
    reader.text("cvv2", options.cvv2, "[0-9]*", "digits");
    reader.text("expiry", options.expiry, "([0-9]{2}/[0-9]{2})?", "YY/MM, for example 05/09");
    reader.text("screenshots", options.screenshots, ".+", "a folder");
    reader.text("input", options.input, "pointer|touch|keyboard|accessibility|on-screen",
                "pointer, touch, keyboard, accessibility or on-screen");
    QString size;
    reader.text("size", size, "[1-9][0-9]{2,3}x[1-9][0-9]{2,3}", "WxH, for example 320x568");
    if (!size.isEmpty())
        options.size = {size.section(u'x', 0, 0).toInt(), size.section(u'x', 1).toInt()};
    reader.number("timeout", options.timeoutSeconds, 1, "a number of seconds, 1 or more");
    if (reader.isSet("params"))
        options.params = reader.value("params");
    if (reader.isSet("saved")) {
        options.savedRow = 0;
        reader.number("saved", *options.savedRow, 0, "a row number, 0 or more");
    }
    options.unsettled = reader.isSet("unsettled");
    if (reader.isSet("settle"))
        options.settle = reader.value("settle");
    if (reader.isSet("list")) {
        options.list = QString();
        reader.text("list", *options.list, "internet|charge", "internet or charge");
    }
#ifdef KELPAY_SHOP_SANDBOX
    options.about = reader.isSet("about");
    options.simulator = reader.isSet("simulator");
    reader.number("clock-rate", options.clockRate, 0.001, "a number above 0");
#endif

    using namespace Qt::StringLiterals;
    options.ziaprod = reader.isSet("ziaprod");
    options.wallet = reader.isSet("wallet");
    options.cancel = reader.isSet("cancel");
    options.verify = reader.isSet("verify");
    options.idle = reader.isSet("idle");
    // What only a driver can do asks for one.
    options.automatic = reader.isSet("auto") || options.wallet || options.cancel || options.verify || options.idle ||
                        options.savedRow || (!options.screenshots.isEmpty() && !options.about);
    if (!error.isEmpty())
        return std::nullopt;
    return options;
}

#include "Exhibits.h"
#include "ui/components/Appearance.h"
#include "ui/components/ScreenEngine.h"

#include <QCommandLineParser>
#include <QDir>
#include <QGuiApplication>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QTextStream>
#include <QTimer>

namespace kelpay {

using namespace Qt::StringLiterals;
namespace {

struct Options
{
    std::optional<Look> look; ///< std::nullopt: the desktop's.
    QSize size{460, 1100};
    QString folder; ///< "" to open a window
};

/// std::nullopt, with a line on the error output, for what can't be read.
std::optional<Options> readOptions(const QStringList &arguments)
{
    const auto name = [](const char *text) { return QString::fromLatin1(text); };
    QCommandLineParser parser;
    parser.setApplicationDescription(name("Shows the parts of KelPay's screens in each state."));
    parser.addHelpOption();
    parser.addOptions({{name("scheme"), name("light or dark; the desktop's by default."), name("SCHEME")},
                       {name("motion"), name("on or off; the desktop's by default."), name("MOTION")},
                       {name("text-scale"), name("0.8 to 2; the desktop's by default."), name("FACTOR")},
                       {name("size"), name("Of the window, 460x1100 by default."), name("WxH")},
                       {name("save"), name("Save a PNG of each page and end."), name("FOLDER")}});
    parser.process(arguments);

    Options options;
    options.folder = parser.value(name("save"));
    const QString scheme = parser.value(name("scheme"));
    const QString motion = parser.value(name("motion"));
    const QString scale = parser.value(name("text-scale"));
    bool isRight = (scheme.isEmpty() || scheme == name("light") || scheme == name("dark")) &&
                   (motion.isEmpty() || motion == name("on") || motion == name("off"));
    Look look{scheme == name("dark"), motion == name("off"), 1};
    if (!scale.isEmpty()) {
        look.textScale = scale.toDouble();
        isRight = isRight && look.textScale >= 0.8 && look.textScale <= 2;
    }
    if (!scheme.isEmpty() || !motion.isEmpty() || !scale.isEmpty())
        options.look = look;
    if (const QString size = parser.value(name("size")); !size.isEmpty()) {
        options.size = {size.section(u'x', 0, 0).toInt(), size.section(u'x', 1, 1).toInt()};
        isRight = isRight && options.size.width() >= 100 && options.size.height() >= 100;
    }
    if (isRight && parser.positionalArguments().isEmpty())
        return options;
    QTextStream(stderr) << "kelpay-gallery: an option is not as --help says\n";
    return std::nullopt;
}

/// Saves the shown page once it is drawn, then the next one; ends the program after the last.
void savePages(QQuickView &view, const QDir &folder)
{
    const QStringList pages = view.rootObject()->property("pages").toStringList();
    const int page = view.rootObject()->property("page").toInt();
    QTimer::singleShot(600, &view, [&view, folder, pages, page] {
        const QString file = folder.filePath(pages[page] + u".png"_s);
        if (!folder.mkpath(u"."_s) || !view.grabWindow().save(file)) {
            QTextStream(stderr) << "kelpay-gallery: " << file << " can't be written\n";
            QCoreApplication::exit(EXIT_FAILURE);
        } else if (page + 1 == pages.size()) {
            QCoreApplication::quit();
        } else {
            view.rootObject()->setProperty("page", page + 1);
            savePages(view, folder);
        }
    });
}

int run(const QStringList &arguments)
{
    const std::optional<Options> options = readOptions(arguments);
    if (!options)
        return 2;
    if (options->look)
        Appearance::shared().pin(*options->look);

    Exhibits exhibits;
    QQuickView view(&ScreenEngine::shared(), nullptr);
    view.setTitle(u"KelPay gallery"_s);
    view.setResizeMode(QQuickView::SizeRootObjectToView);
    view.resize(options->size);
    view.setInitialProperties({{u"exhibits"_s, QVariant::fromValue(&exhibits)}});
    view.setSource(QUrl(u"qrc:/qt/qml/KelPay/Gallery/Gallery.qml"_s));
    if (!view.rootObject())
        return EXIT_FAILURE;
    view.show();
    if (!options->folder.isEmpty())
        savePages(view, QDir(options->folder));
    return QCoreApplication::exec();
}

} // namespace
} // namespace kelpay

using namespace Qt::StringLiterals;

int main(int argc, char **argv)
{
    const QGuiApplication application(argc, argv);
    QCoreApplication::setApplicationName(u"kelpay-gallery"_s);
    QCoreApplication::setOrganizationDomain(u"example.org"_s);
    return kelpay::run(application.arguments());
}

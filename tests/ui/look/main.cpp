// screens_look                    compares the screens with the baseline; what differs is saved in ./look
// screens_look --update           writes the baseline anew
// screens_look --sheets FOLDER    writes a contact sheet for each size and scheme; with --size WxH for one size
// screens_look --shots FOLDER     writes what the baseline holds in full size, to look at
// screens_look ... --only PART    only the images whose name holds PART
#include "Baseline.h"
#include "Shots.h"

#include <QDir>
#include <QGuiApplication>
#include <QStyleHints>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace kelpay {

namespace {

constexpr QSize sizes[] = {{320, 568}, {375, 812}, {768, 1024},  {1280, 800},
                           {812, 375}, {900, 500}, {1080, 1920}, {1920, 1080}};

/// What the baseline holds of the states: each on a phone, light and dark; the small phone where texts are large; three
/// of them in the other sizes.
struct Kept
{
    QString file;
    const Shots::State *state;
    QSize size;
    bool isDark;
};

QList<Kept> kept(const QString &only)
{
    QList<Kept> all;
    const auto keep = [&](const Shots::State &state, QSize size, bool isDark) {
        const QString file = u"%1-%2-%3.png"_s.arg(QString::fromLatin1(state.name))
                                 .arg(size.width())
                                 .arg(isDark ? u"dark"_s : u"light"_s);
        if (file.contains(only))
            all.append({file, &state, size, isDark});
    };
    for (const Shots::State &state : Shots::states()) {
        const QByteArray name(state.name);
        for (const bool isDark : {false, true})
            keep(state, state.textScale > 1 ? sizes[0] : sizes[1], isDark);
        if (name == "payment-full" || name == "payment-expiry" || name == "receipt-paid") {
            for (std::size_t other = 2; other < std::size(sizes); ++other)
                keep(state, sizes[other], other % 2 == 0);
        }
    }
    return all;
}

QImage smaller(const QImage &image)
{
    return image.scaled(image.size() / 2, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
        .convertToFormat(QImage::Format_RGB888);
}

int writeSheets(const QDir &folder, const QString &only, const QString &onlySize)
{
    folder.mkpath(u"."_s);
    for (const QSize size : sizes) {
        if (!u"%1x%2"_s.arg(size.width()).arg(size.height()).contains(onlySize))
            continue;
        for (const bool isDark : {false, true}) {
            QList<QImage> images;
            QStringList names;
            for (const Shots::State &state : Shots::states()) {
                const QString name = QString::fromLatin1(state.name);
                if (!name.contains(only))
                    continue;
                images.append(Shots::take(state, size, isDark));
                names.append(name);
            }
            const int across = std::clamp(3000 / size.width(), 4, 8);
            const QString file = folder.filePath(u"screens-%1x%2-%3.png"_s.arg(
                QString::number(size.width()), QString::number(size.height()), isDark ? u"dark"_s : u"light"_s));
            const int columns = std::min(across, static_cast<int>(images.size()));
            const int height = size.width() < 400 ? 420 : std::clamp(size.height() * 2 / 7, 230, 420);
            if (images.isEmpty() || !contactSheet(images, names, height, columns, isDark).save(file))
                return EXIT_FAILURE;
            std::printf("%s\n", qPrintable(file));
        }
    }
    return EXIT_SUCCESS;
}

int writeShots(const QDir &folder, const QString &only)
{
    folder.mkpath(u"."_s);
    for (const Kept &shot : kept(only)) {
        if (!Shots::take(*shot.state, shot.size, shot.isDark).save(folder.filePath(shot.file)))
            return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}

int update(const QDir &baseline, const QString &only)
{
    if (only.isEmpty())
        QDir(baseline).removeRecursively();
    baseline.mkpath(u"."_s);
    for (const Kept &shot : kept(only)) {
        if (!smaller(Shots::take(*shot.state, shot.size, shot.isDark)).save(baseline.filePath(shot.file)))
            return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}

int compare(const QDir &baseline, const QString &only)
{
    // Another rounding of the same edges stays below; a field one pixel off is at 10 or more.
    constexpr double tolerance = 3;
    int differing = 0;
    const QDir seen(u"look"_s);
    QDir(seen).removeRecursively();
    for (const Kept &shot : kept(only)) {
        const QImage image = smaller(Shots::take(*shot.state, shot.size, shot.isDark));
        const double difference = worstDifference(QImage(baseline.filePath(shot.file)), image);
        if (difference <= tolerance)
            continue;
        ++differing;
        seen.mkpath(u"."_s);
        image.save(seen.filePath(shot.file));
        std::printf("%s: differs by %.1f of 255 in one place; now %s, before %s\n", qPrintable(shot.file), difference,
                    qPrintable(seen.absoluteFilePath(shot.file)), qPrintable(baseline.filePath(shot.file)));
    }
    if (differing)
        std::printf("%d screens look different. Meant so? Then look at them and run scripts/screens --update\n",
                    differing);
    return differing ? EXIT_FAILURE : EXIT_SUCCESS;
}

} // namespace
} // namespace kelpay

int main(int argc, char **argv)
{
    // The same on every machine: no display, no scaling, no desktop, no fonts but the bundle's.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_QUICK_BACKEND", "software");
    qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
    qputenv("FONTCONFIG_FILE", KELPAY_LOOK_FOLDER "/fonts.conf");
    for (const auto *name :
         {"QT_SCALE_FACTOR", "QT_FONT_DPI", "QT_AUTO_SCREEN_SCALE_FACTOR", "QT_IM_MODULE", "QT_QPA_PLATFORMTHEME"})
        qunsetenv(name);
    QGuiApplication application(argc, argv);
    QCoreApplication::setApplicationName(u"screens_look"_s);
    QCoreApplication::setOrganizationDomain(u"test.kelpay.example"_s);
    QGuiApplication::styleHints()->setCursorFlashTime(0);

    const QStringList arguments = application.arguments();
    const auto option = [&](const QString &name) {
        const qsizetype index = arguments.indexOf(name);
        return index > 0 ? arguments.value(index + 1) : QString();
    };
    const QString only = option(u"--only"_s);
    const QDir baseline(QStringLiteral(KELPAY_LOOK_FOLDER "/baseline"));
    if (const QString folder = option(u"--sheets"_s); !folder.isEmpty())
        return kelpay::writeSheets(QDir(folder), only, option(u"--size"_s));
    if (const QString folder = option(u"--shots"_s); !folder.isEmpty())
        return kelpay::writeShots(QDir(folder), only);
    if (arguments.contains(u"--update"_s))
        return kelpay::update(baseline, only);
    return kelpay::compare(baseline, only);
}

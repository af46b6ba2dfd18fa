#include "Fonts.h"

#include "platform/Bundle.h"
#include "platform/Dispatch.h"

#include <QFont>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QHash>
#include <QResource>
#include <QSignalBlocker>

#include <array>
#include <atomic>
#include <exception>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

const auto textFace = u"IRANSansFaNum-Medium"_s;
const auto boldFace = u"irsansbold"_s;
const auto messageFace = u"IRANSansMobile(FaNum)"_s;
const auto cardDigitsFace = u"CardDigits"_s;

std::atomic<bool> listIsRead{false};

struct Face
{
    QByteArray file;
    QString family;
};

struct Registry
{
    QHash<QString, Face> faces; ///< by their files' names
    std::size_t count = 0;      ///< of the screens' own
};

/// Emptied with the application object: the next one registers them anew.
Registry &registry()
{
    static Registry shared;
    return shared;
}

/// What is compiled in stays where it lies.
QByteArray fontFile(const QString &name)
{
    const auto path = Bundle::sdk().pathForResource(name, u"ttf"_s);
    const QResource resource(path.value_or(QString()));
    if (resource.isValid() && resource.compressionAlgorithm() == QResource::NoCompression)
        return QByteArray::fromRawData(reinterpret_cast<const char *>(resource.data()), resource.size());
    const auto file = path ? readFile(*path) : std::nullopt;
    return file ? file->toByteArray() : QByteArray();
}

/// A family of the face's own name wins, wherever it comes from.
QString registered(const QString &name, const QByteArray &file)
{
    const QStringList families =
        QFontDatabase::applicationFontFamilies(QFontDatabase::addApplicationFontFromData(file));
    return families.isEmpty() || QFontDatabase::hasFamily(name) ? name : families.first();
}

QString family(const QString &name)
{
    while (!Fonts::loadNext()) {
    }
    const auto face = registry().faces.constFind(name);
    return face != registry().faces.constEnd() ? face->family : name;
}

} // namespace

void loadFont(const QString &name)
{
    auto &faces = registry().faces;
    const QByteArray file = faces.contains(name) ? QByteArray() : fontFile(name);
    if (file.isEmpty())
        return;
    if (faces.isEmpty())
        qAddPostRoutine([] { registry() = {}; });
    const QString family = registered(name, file);
    faces.insert(name, {file, family});
    if (family != name)
        QFont::insertSubstitution(name, family);
}

void Fonts::readList()
{
    listIsRead = false;
    try {
        Dispatch::global(Dispatch::Priority::High, [] {
            if (qGuiApp && !Dispatch::isShuttingDown())
                QFontDatabase::hasFamily(QString());
            listIsRead = true;
        });
    } catch (const std::exception &) {
        listIsRead = true; // By whoever shows a text first, then.
    }
}

bool Fonts::isListRead()
{
    return listIsRead;
}

bool Fonts::loadNext()
{
    static const std::array ours{textFace, boldFace, messageFace, cardDigitsFace};
    auto &count = registry().count;
    if (count == ours.size())
        return true;
    {
        // The host's texts are laid out again once, not once for each face.
        const QSignalBlocker quiet(qGuiApp);
        loadFont(ours[count]);
    }
    if (++count == ours.size())
        Q_EMIT qGuiApp->fontDatabaseChanged();
    return count == ours.size();
}

QString Fonts::text()
{
    return family(textFace);
}

QString Fonts::bold()
{
    return family(boldFace);
}

QString Fonts::message()
{
    return family(messageFace);
}

QString Fonts::cardDigits()
{
    return family(cardDigitsFace);
}

} // namespace kelpay

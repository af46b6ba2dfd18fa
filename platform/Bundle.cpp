#include "Bundle.h"

#include "Deployment.h"
#include "Files.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QStringList>
#include <QUrl>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

// "" for what is no name of a file in the bundle.
QString fileName(const QString &name, const QString &type)
{
    const QString file = type.isEmpty() ? name : name + u'.' + type;
    return file.contains(u'/') ? QString() : file;
}

std::optional<Bytes> readResource(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return std::nullopt;
    const auto size = static_cast<std::size_t>(file.size());
    BytesBuilder builder(size);
    if (file.read(reinterpret_cast<char *>(builder.extend(size)), file.size()) != file.size())
        return std::nullopt;
    return builder.take();
}

} // namespace

const Bundle &Bundle::sdk()
{
    static const Bundle bundle(Kind::Sdk);
    return bundle;
}

const Bundle &Bundle::main()
{
    static const Bundle bundle(Kind::Main);
    return bundle;
}

QStringList Bundle::folders() const
{
    // One by one: Qt's lists don't check that there is memory for several at once.
    QStringList folders;
    if (m_kind == Kind::Main) {
        folders.append(u":/"_s);
        folders.append(QCoreApplication::applicationDirPath() + u'/');
        return folders;
    }
    if (const QString overlay = Deployment::resourcesOverlay(); !overlay.isEmpty())
        folders.append(overlay + u'/');
    folders.append(u":/dev.kel.KelPay/"_s);
    return folders;
}

std::optional<QString> Bundle::pathForResource(const QString &name, const QString &type) const
{
    const QString file = fileName(name, type);
    if (file.isEmpty())
        return std::nullopt;
    for (const QString &folder : folders()) {
        if (const QString path = folder + file; QFileInfo(path).isFile())
            return path;
    }
    return std::nullopt;
}

std::optional<Bytes> Bundle::dataForResource(const QString &name, const QString &type) const
{
    const QString file = fileName(name, type);
    if (file.isEmpty())
        return std::nullopt;
    for (const QString &folder : folders()) {
        if (auto data = readFile(folder + file))
            return data;
    }
    return std::nullopt;
}

QString Bundle::urlForImage(const QString &fileName) const
{
    const auto path = pathForResource(fileName);
    if (!path)
        return {};
    return path->startsWith(u':') ? u"qrc"_s + *path : QUrl::fromLocalFile(*path).toString();
}

std::optional<Bytes> readFile(const QString &path)
{
    if (path.startsWith(u':'))
        return readResource(path);
    // The client certificate is read for each request; QFile takes twice as long for it.
    return Files::read(path);
}

} // namespace kelpay

#include "StateFolder.h"

#include "Files.h"
#include "Log.h"
#include "SystemFacts.h"

#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

#include <cerrno>
#include <cstring>

namespace kelpay {

using namespace Qt::StringLiterals;

std::optional<QString> stateFolder()
{
    const QString path = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + u'/' +
                         SystemFacts::hostIdentifier() + u"/kelpay"_s;
    if (Files::makePrivateFolder(path))
        return path;
    const int reason = errno;
    const QByteArray native = QFile::encodeName(path);
    if (Files::entryAt(path) == Files::Entry::Foreign) {
        qCWarning(logStore,
                  "the state folder %s is not this user's own, so nothing is read from it or kept there: move it away",
                  native.constData());
        return std::nullopt;
    }
    qCWarning(logStore, "the state folder %s can't be made or kept private (%s): give this user write access to it",
              native.constData(), std::strerror(reason));
    const QFileInfo folder(path);
    return folder.isDir() && folder.isReadable() && folder.isExecutable() ? std::optional(path) : std::nullopt;
}

} // namespace kelpay

#include "StateFolder.h"

#include "Log.h"
#include "SystemFacts.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kelpay {

std::optional<QString> stateFolder()
{
    const QString path = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QLatin1Char('/') +
                         SystemFacts::hostIdentifier() + QStringLiteral("/kelpay");
    const QByteArray native = QFile::encodeName(path);
    if (!QDir().mkpath(path) || ::chmod(native.constData(), S_IRWXU) != 0) {
        struct stat info
        {
        };
        const bool usable = ::stat(native.constData(), &info) == 0 && S_ISDIR(info.st_mode) &&
                            ::access(native.constData(), R_OK | X_OK) == 0;
        qCWarning(logStore, "the state folder %s can't be made or kept private (%s): give this user write access to it",
                  native.constData(), std::strerror(errno));
        if (!usable)
            return std::nullopt;
    }
    return path;
}

bool makePrivateFile(const QString &path)
{
    // A file that is there is never opened here: closing it would drop the locks that this process has on it.
    const QByteArray native = QFile::encodeName(path);
    const int file = ::open(native.constData(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (file < 0)
        return errno == EEXIST && ::chmod(native.constData(), S_IRUSR | S_IWUSR) == 0;
    const bool isPrivate = ::fchmod(file, S_IRUSR | S_IWUSR) == 0;
    ::close(file);
    return isPrivate;
}

} // namespace kelpay

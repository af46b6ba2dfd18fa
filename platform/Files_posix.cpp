#include "Files.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace kelpay::Files {

using namespace Qt::StringLiterals;

namespace {

constexpr mode_t ownerOnlyFile = S_IRUSR | S_IWUSR;
constexpr mode_t ownerOnlyFolder = S_IRWXU;
constexpr mode_t anyRight = S_IRWXU | S_IRWXG | S_IRWXO;

class Descriptor
{
public:
    Descriptor(const QString &path, int flags, mode_t mode = 0)
        : m_descriptor(::open(QFile::encodeName(path).constData(), flags | O_CLOEXEC, mode))
    {}
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    ~Descriptor()
    {
        const int reason = errno;
        if (isOpen())
            ::close(m_descriptor);
        errno = reason;
    }
    bool isOpen() const noexcept { return m_descriptor >= 0; }
    int get() const noexcept { return m_descriptor; }

private:
    int m_descriptor;
};

// std::nullopt, with errno, where there is nothing or it can't be looked at.
std::optional<struct stat> statusOf(const QString &path)
{
    struct stat status
    {
    };
    return ::lstat(QFile::encodeName(path).constData(), &status) == 0 ? std::optional(status) : std::nullopt;
}

bool isOwn(const struct stat &status)
{
    return status.st_uid == ::geteuid() && (S_ISREG(status.st_mode) || S_ISDIR(status.st_mode));
}

// What is there already: this user's, of the right kind, and with these rights from now on.
bool restrictTo(const QString &path, mode_t kind, mode_t rights)
{
    const auto status = statusOf(path);
    if (!status)
        return false;
    if (!isOwn(*status) || (status->st_mode & S_IFMT) != kind) {
        errno = EPERM;
        return false;
    }
    return (status->st_mode & anyRight) == rights || ::chmod(QFile::encodeName(path).constData(), rights) == 0;
}

bool writeAll(const Descriptor &file, const Bytes &content)
{
    std::size_t written = 0;
    while (written < content.size()) {
        const ssize_t count = ::write(file.get(), content.data() + written, content.size() - written);
        if (count < 0 && errno != EINTR)
            return false;
        written += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    return true;
}

bool sync(const QString &path, int flags)
{
    const Descriptor file(path, O_RDONLY | flags);
    return file.isOpen() && ::fsync(file.get()) == 0;
}

} // namespace

Entry entryAt(const QString &path)
{
    const auto status = statusOf(path);
    if (!status)
        return errno == ENOENT || errno == ENOTDIR ? Entry::Missing : Entry::Foreign;
    return isOwn(*status) ? Entry::Own : Entry::Foreign;
}

bool makePrivateFolder(const QString &path)
{
    if (!QDir().mkpath(QFileInfo(path).path()))
        return false;
    return (::mkdir(QFile::encodeName(path).constData(), ownerOnlyFolder) == 0 || errno == EEXIST || errno == EROFS) &&
           restrictTo(path, S_IFDIR, ownerOnlyFolder);
}

bool makePrivateFile(const QString &path)
{
    const Descriptor file(path, O_RDWR | O_CREAT | O_EXCL, ownerOnlyFile);
    if (!file.isOpen())
        return (errno == EEXIST || errno == EROFS) && restrictTo(path, S_IFREG, ownerOnlyFile);
    return ::fchmod(file.get(), ownerOnlyFile) == 0;
}

bool isPrivateFile(const QString &path)
{
    const auto status = statusOf(path);
    return status && isOwn(*status) && S_ISREG(status->st_mode) && (status->st_mode & (S_IRWXG | S_IRWXO)) == 0;
}

std::optional<Bytes> read(const QString &path)
{
    const Descriptor file(path, O_RDONLY);
    struct stat status
    {
    };
    if (!file.isOpen() || ::fstat(file.get(), &status) != 0)
        return std::nullopt;
    if (!S_ISREG(status.st_mode)) {
        errno = EINVAL;
        return std::nullopt;
    }
    const auto size = static_cast<std::size_t>(status.st_size);
    BytesBuilder builder(size);
    std::uint8_t *end = builder.extend(size);
    for (std::size_t taken = 0; taken < size;) {
        const ssize_t count = ::read(file.get(), end + taken, size - taken);
        if (count == 0 || (count < 0 && errno != EINTR))
            return std::nullopt;
        taken += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    return builder.take();
}

bool write(const QString &path, const Bytes &content)
{
    const QString fresh = path + u".new"_s;
    const QByteArray name = QFile::encodeName(fresh);
    ::unlink(name.constData());
    const auto fill = [&] {
        const Descriptor file(fresh, O_WRONLY | O_CREAT | O_EXCL, ownerOnlyFile);
        return file.isOpen() && ::fchmod(file.get(), ownerOnlyFile) == 0 && writeAll(file, content);
    };
    if (fill() && replace(fresh, path))
        return true;
    const int reason = errno;
    ::unlink(name.constData());
    errno = reason;
    return false;
}

bool replace(const QString &from, const QString &to)
{
    return sync(from, 0) && ::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) == 0 &&
           syncFolder(QFileInfo(to).path());
}

bool link(const QString &from, const QString &to)
{
    return ::link(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) == 0;
}

bool isSame(const QString &a, const QString &b)
{
    const auto first = statusOf(a);
    const auto second = statusOf(b);
    return first && second && first->st_dev == second->st_dev && first->st_ino == second->st_ino;
}

bool syncFolder(const QString &folder)
{
    return sync(folder, O_DIRECTORY);
}

class FolderLock::Handle : public Descriptor
{
public:
    using Descriptor::Descriptor;
};

FolderLock::FolderLock(const QString &folder, int patience)
    : m_handle(std::make_unique<Handle>(folder, O_RDONLY | O_DIRECTORY))
{
    constexpr int pause = 10; // milliseconds
    for (int waited = 0; m_handle->isOpen(); waited += pause) {
        m_isHeld = ::flock(m_handle->get(), LOCK_EX | LOCK_NB) == 0;
        if (m_isHeld || waited >= patience)
            break;
        std::this_thread::sleep_for(std::chrono::milliseconds(pause));
    }
}

FolderLock::~FolderLock() = default;

} // namespace kelpay::Files

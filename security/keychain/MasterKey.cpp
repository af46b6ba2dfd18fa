#include "security/keychain/MasterKey.h"

#include "platform/Log.h"
#include "security/Random.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kelpay {

namespace {

constexpr std::size_t keySize = 32;

class Descriptor
{
public:
    explicit Descriptor(int descriptor) : m_descriptor(descriptor) {}
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    ~Descriptor()
    {
        if (m_descriptor >= 0)
            ::close(m_descriptor);
    }
    bool isOpen() const { return m_descriptor >= 0; }
    int get() const { return m_descriptor; }

private:
    int m_descriptor;
};

bool writeDurably(const QByteArray &path, const Bytes &content)
{
    ::unlink(path.constData());
    const Descriptor file(::open(path.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR));
    return file.isOpen() && ::fchmod(file.get(), S_IRUSR | S_IWUSR) == 0 &&
           ::write(file.get(), content.data(), content.size()) == static_cast<ssize_t>(content.size()) &&
           ::fsync(file.get()) == 0;
}

bool syncFolder(const QString &path)
{
    const QByteArray folder = QFile::encodeName(QFileInfo(path).path());
    const Descriptor descriptor(::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return descriptor.isOpen() && ::fsync(descriptor.get()) == 0;
}

} // namespace

MasterKey::Reading MasterKey::read() const
{
    const Descriptor file(::open(QFile::encodeName(m_path).constData(), O_RDONLY | O_CLOEXEC));
    if (!file.isOpen())
        return {errno == ENOENT ? State::Missing : State::Unreadable, std::nullopt};
    BytesBuilder builder(keySize + 1);
    const ssize_t size = ::read(file.get(), builder.extend(keySize + 1), keySize + 1);
    if (size < 0)
        return {State::Unreadable, std::nullopt};
    if (size != static_cast<ssize_t>(keySize))
        return {State::Damaged, std::nullopt};
    builder.truncate(keySize);
    return {State::Present, builder.take()};
}

std::optional<Bytes> MasterKey::readOrMake() const
{
    const auto [state, key] = read();
    switch (state) {
    case State::Present:
        return key;
    case State::Unreadable:
        qCWarning(logStore, "the keychain's key %s can't be read (%s): give this user its file back, mode 0600",
                  QFile::encodeName(m_path).constData(), std::strerror(errno));
        return std::nullopt;
    case State::Damaged:
        qCWarning(logStore, "the keychain's key %s is damaged and is made anew: values stored before can't be read",
                  QFile::encodeName(m_path).constData());
        break;
    case State::Missing:
        break;
    }
    return make();
}

std::optional<Bytes> MasterKey::make() const
{
    auto key = generateSecureRandomData(keySize);
    if (!key)
        return std::nullopt;
    const QByteArray path = QFile::encodeName(m_path);
    const QByteArray fresh = path + ".new";
    if (!writeDurably(fresh, *key) || ::rename(fresh.constData(), path.constData()) != 0 || !syncFolder(m_path)) {
        qCWarning(logStore,
                  "the keychain's key %s can't be written (%s): check that the disk has room and that this "
                  "user may write there",
                  path.constData(), std::strerror(errno));
        return std::nullopt;
    }
    return key;
}

} // namespace kelpay

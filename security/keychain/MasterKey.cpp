#include "security/keychain/MasterKey.h"

#include "platform/Files.h"
#include "platform/Log.h"
#include "security/Random.h"

#include <QFile>

#include <cerrno>
#include <cstring>

namespace kelpay {

namespace {

constexpr std::size_t keySize = 32;

} // namespace

MasterKey::Reading MasterKey::read() const
{
    if (Files::entryAt(m_path) == Files::Entry::Missing)
        return {State::Missing, std::nullopt};
    // What others could read or write is no key of ours to seal under.
    auto key = Files::isPrivateFile(m_path) ? Files::read(m_path) : std::nullopt;
    if (!key)
        return {State::Unreadable, std::nullopt};
    return key->size() == keySize ? Reading{State::Present, std::move(key)} : Reading{State::Damaged, std::nullopt};
}

std::optional<Bytes> MasterKey::readOrMake() const
{
    const auto [state, key] = read();
    switch (state) {
    case State::Present:
        return key;
    case State::Unreadable:
        qCWarning(logStore, "the keychain's key %s can't be read: give this user its file back, mode 0600",
                  QFile::encodeName(m_path).constData());
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
    if (!Files::write(m_path, *key)) {
        qCWarning(logStore,
                  "the keychain's key %s can't be written (%s): check that the disk has room and that this "
                  "user may write there",
                  QFile::encodeName(m_path).constData(), std::strerror(errno));
        return std::nullopt;
    }
    return key;
}

} // namespace kelpay

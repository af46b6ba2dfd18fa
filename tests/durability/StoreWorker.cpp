// Does with the stores of one folder what it reads from standard input, a command a line, and answers each with
// "<result> <microseconds>". Its values tell whether they are whole. durability.py drives it and kills it.

#include "platform/UserDefaults.h"
#include "security/SecStatus.h"
#include "security/keychain/FileKeychain.h"

#include <QFile>

#include <chrono>
#include <cstdio>
#include <iostream>
#include <random>
#include <sstream>
#include <sys/mount.h>
#include <unistd.h>

using namespace kelpay;
using namespace Qt::StringLiterals;

namespace {

constexpr std::size_t headSize = 20; // ten digits of the number, ten of the size

// A value that any loss of bytes or mixture with another value shows in.
Bytes valueOf(unsigned number, std::size_t size)
{
    std::string text(headSize + 1, '\0');
    std::snprintf(text.data(), text.size(), "%010u%010zu", number, size);
    text.resize(headSize);
    std::minstd_rand next(number + 1);
    while (text.size() < headSize + size)
        text.push_back(static_cast<char>(next() >> 8));
    return Bytes(text);
}

std::string described(const std::optional<Bytes> &value)
{
    if (!value)
        return "absent";
    unsigned number = 0;
    std::size_t size = 0;
    const std::string head(value->view().substr(0, headSize));
    const bool isWhole = std::sscanf(head.c_str(), "%10u%10zu", &number, &size) == 2 &&
                         value->size() == headSize + size && *value == valueOf(number, size);
    return isWhole ? "value:" + std::to_string(number) : "torn";
}

class Stores
{
public:
    void open(const std::string &folder)
    {
        m_folder = folder;
        const QString path = QString::fromStdString(folder);
        m_defaults = std::make_unique<UserDefaults>(path + u"/defaults.sqlite"_s);
        m_keychain = std::make_unique<FileKeychain>(path);
    }
    void close()
    {
        m_defaults.reset();
        m_keychain.reset();
    }

    int write(bool inKeychain, const std::string &key, const Bytes &value)
    {
        if (!inKeychain) {
            m_defaults->setData(QString::fromStdString(key), value);
            return SecStatus::Success;
        }
        const int status = m_keychain->update(match(key), value);
        if (status != SecStatus::ItemNotFound)
            return status;
        KeychainItem item;
        item.service = u"service"_s;
        item.account = QString::fromStdString(key);
        item.value = value;
        return m_keychain->add({item});
    }

    int remove(bool inKeychain, const std::string &key)
    {
        if (!inKeychain) {
            m_defaults->remove(QString::fromStdString(key));
            return SecStatus::Success;
        }
        const int status = m_keychain->remove(match(key));
        return status == SecStatus::ItemNotFound ? SecStatus::Success : status;
    }

    std::string read(bool inKeychain, const std::string &key)
    {
        if (!inKeychain)
            return described(m_defaults->data(QString::fromStdString(key)));
        const auto found = m_keychain->findOne(match(key), KeychainStore::Content::Value);
        if (found.status == SecStatus::ItemNotFound)
            return "absent";
        return found.status == SecStatus::Success ? described(found.items.front().value) : std::to_string(found.status);
    }

    long long increment(const std::string &key, int count)
    {
        long long last = 0;
        for (int i = 0; i < count; ++i)
            last = m_defaults->increment(QString::fromStdString(key));
        return last;
    }

    // Writes and removes until it is killed. Each call is announced, and acknowledged after its return.
    void loop(unsigned seed, unsigned number, int keys)
    {
        std::minstd_rand next(seed);
        for (;; ++number) {
            const bool inKeychain = next() % 2 == 0;
            const std::string key = "k" + std::to_string(next() % static_cast<unsigned>(keys));
            const bool isRemoval = next() % 8 == 0;
            const std::size_t size = next() % (next() % 4 == 0 ? 40'000 : 400);
            const std::string call = std::string(inKeychain ? "k " : "d ") + key + ' ' +
                                     (isRemoval ? "absent" : "value:" + std::to_string(number)) + '\n';
            tell("call " + call);
            const int status = isRemoval ? remove(inKeychain, key) : write(inKeychain, key, valueOf(number, size));
            if (status == SecStatus::Success)
                tell("done " + call);
        }
    }

    // Takes all the room there is, but for what removing the file gives back.
    bool fill() const
    {
        QFile file(fillPath());
        if (!file.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered))
            return false;
        while (file.write(QByteArray(4096, 'x')) > 0) {
        }
        return true;
    }
    bool makeRoom() const { return QFile::remove(fillPath()); }
    bool remount(bool readOnly) const
    {
        return ::mount(nullptr, m_folder.c_str(), nullptr, MS_REMOUNT | (readOnly ? MS_RDONLY : 0), nullptr) == 0;
    }

private:
    static void tell(const std::string &line)
    {
        if (::write(STDOUT_FILENO, line.data(), line.size()) < 0)
            ::_exit(3);
    }
    static KeychainMatch match(const std::string &key)
    {
        return {KeychainItemClass::GenericPassword, u"service"_s, {}, QString::fromStdString(key)};
    }
    QString fillPath() const { return QString::fromStdString(m_folder + "/fill"); }

    std::string m_folder;
    std::unique_ptr<UserDefaults> m_defaults;
    std::unique_ptr<FileKeychain> m_keychain;
};

std::string run(Stores &stores, const std::string &command, std::istream &arguments)
{
    std::string store;
    std::string key;
    unsigned number = 0;
    std::size_t size = 0;
    if (command == "open" && arguments >> key)
        return stores.open(key), "0";
    if (command == "close")
        return stores.close(), "0";
    if (command == "write" && arguments >> store >> key >> number >> size)
        return std::to_string(stores.write(store == "k", key, valueOf(number, size)));
    if (command == "remove" && arguments >> store >> key)
        return std::to_string(stores.remove(store == "k", key));
    if (command == "read" && arguments >> store >> key)
        return stores.read(store == "k", key);
    if (command == "increment" && arguments >> key >> number)
        return std::to_string(stores.increment(key, static_cast<int>(number)));
    if (command == "loop" && arguments >> number >> size)
        stores.loop(number, static_cast<unsigned>(size), 6);
    if (command == "fill")
        return stores.fill() ? "0" : "failed";
    if (command == "room")
        return stores.makeRoom() ? "0" : "failed";
    if (command == "remount" && arguments >> key)
        return stores.remount(key == "ro") ? "0" : "failed";
    return "unknown";
}

} // namespace

int main()
{
    Stores stores;
    std::string line;
    while (std::getline(std::cin, line)) {
        std::istringstream arguments(line);
        std::string command;
        arguments >> command;
        const auto start = std::chrono::steady_clock::now();
        const std::string result = run(stores, command, arguments);
        const auto spent = std::chrono::steady_clock::now() - start;
        std::cout << result << ' ' << std::chrono::duration_cast<std::chrono::microseconds>(spent).count() << std::endl;
    }
    return 0;
}

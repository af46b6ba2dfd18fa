// What a disk or somebody with the user's rights makes of the files that the SDK keeps.

#include "Fuzz.h"

#include "platform/UserDefaults.h"
#include "protocol/AttemptLedger.h"
#include "security/keychain/FileKeychain.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

namespace kelpay::fuzz {

using namespace Qt::StringLiterals;

namespace {

const QStringList names{u"defaults.sqlite"_s, u"attempts.sqlite"_s, u"keychain.sqlite"_s, u"keychain.key"_s};

QByteArray read(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void write(const QString &path, const QByteArray &content)
{
    QFile file(path);
    require(file.open(QIODevice::WriteOnly) && file.write(content) == content.size(), "a file to begin with");
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
}

KeychainItem itemOf(const QString &account)
{
    KeychainItem item;
    item.service = u"s"_s;
    item.account = account;
    item.value = Bytes(std::string_view("value"));
    return item;
}

/// Uses all three stores as the SDK does.
void use(const QString &folder)
{
    UserDefaults defaults(folder + u'/' + names[0]);
    for (const QString &key : {u"trace"_s, u"tkn"_s, u"pn"_s}) {
        defaults.string(key);
        defaults.integer(key);
        defaults.data(key);
    }
    defaults.setString(u"pn"_s, u"0912"_s);
    require(defaults.string(u"pn"_s) == u"0912"_s, "what was kept last is read");
    defaults.increment(u"trace"_s);
    defaults.setData(u"tkn"_s, Bytes(std::string_view("record")));

    AttemptLedger ledger(folder + u'/' + names[1]);
    ledger.unsettled();
    UnsettledAttempt attempt;
    attempt.identifier = u"new"_s;
    attempt.begun = QDateTime::currentDateTime();
    if (ledger.aboutToSend(attempt)) {
        const auto listed = ledger.unsettled();
        require(std::any_of(listed.begin(), listed.end(), [](const auto &one) { return one.identifier == u"new"_s; }),
                "what may have left is listed");
    }

    FileKeychain keychain(folder);
    keychain.findAll({});
    keychain.add({itemOf(u"a"_s)});
    KeychainMatch match;
    match.service = u"s"_s;
    match.account = u"a"_s;
    const auto found = keychain.findOne(match, KeychainStore::Content::Value);
    require(found.items.empty() || !found.items[0].value || *found.items[0].value == *itemOf({}).value,
            "a value is the one that was kept");
    keychain.update(match, *itemOf({}).value);
    match.account = u"b"_s;
    keychain.remove(match);
}

/// The files of a state that was used once.
const QList<QByteArray> &usedFiles()
{
    static const auto files = [] {
        const QTemporaryDir folder;
        use(folder.path());
        QList<QByteArray> contents;
        for (const QString &name : names)
            contents.append(read(folder.path() + u'/' + name));
        return contents;
    }();
    return files;
}

} // namespace

/// The first byte says which file, the second what becomes of it: other content, patches, or a log of SQLite's that
/// somebody put beside it.
void stateFiles(const QByteArray &input)
{
    if (input.size() < 2)
        return;
    const qsizetype which = static_cast<std::uint8_t>(input[0]) % names.size();
    const QTemporaryDir folder;
    for (qsizetype at = 0; at < names.size(); ++at)
        write(folder.path() + u'/' + names[at], usedFiles()[at]);
    const QString path = folder.path() + u'/' + names[which];
    const QByteArray rest = input.mid(2);
    switch (input[1] % 4) {
    case 0:
        write(path, rest);
        break;
    case 1:
        write(path + u"-wal"_s, rest);
        break;
    case 2:
        write(path + u"-journal"_s, rest);
        break;
    default:
        write(path, patched(usedFiles()[which], rest));
    }
    use(folder.path());
}

} // namespace kelpay::fuzz

#include "sandbox/IdentityGenerator.h"

#include "Requests.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace kelpay::sandbox::test {

using namespace Qt::StringLiterals;

namespace {

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

TEST(Identity, IsPrivateAndKeptWhenWhole)
{
    const QDir folder(identityFolder());
    const auto owner = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser;
    ASSERT_EQ(folder.entryList(QDir::Files).size(), 5);
    for (const QFileInfo &file : folder.entryInfoList(QDir::Files))
        EXPECT_EQ(file.permissions() & ~owner, QFile::Permissions()) << qPrintable(file.fileName());
    const QByteArray before = contentOf(folder.filePath(Identity::clientPfx));
    EXPECT_EQ(makeIdentity(folder.path(), PfxFormat::Legacy), std::nullopt);
    EXPECT_EQ(contentOf(folder.filePath(Identity::clientPfx)), before);
}

TEST(Identity, BrokenOnesAreRefusedAndMadeAnew)
{
    const QTemporaryDir temporary;
    const QDir folder(temporary.path());
    const QDir whole(identityFolder());
    for (const QString &spoilt : whole.entryList(QDir::Files)) {
        for (const QString &name : whole.entryList(QDir::Files)) {
            QFile::remove(folder.filePath(name));
            ASSERT_TRUE(QFile::copy(whole.filePath(name), folder.filePath(name)));
        }
        QString problem;
        ASSERT_TRUE(Identity::load(folder.path(), problem));
        ASSERT_TRUE(QFile::resize(folder.filePath(spoilt), 40));
        EXPECT_FALSE(Identity::load(folder.path(), problem)) << qPrintable(spoilt);
        EXPECT_TRUE(problem.contains(spoilt)) << qPrintable(problem);
    }
    EXPECT_EQ(makeIdentity(folder.path(), PfxFormat::Modern), std::nullopt);
    QString problem;
    const auto fresh = Identity::load(folder.path(), problem);
    ASSERT_TRUE(fresh) << qPrintable(problem);
    EXPECT_EQ(fresh->pfxFormat(), PfxFormat::Modern);
    EXPECT_EQ(identity().pfxFormat(), PfxFormat::Legacy);

    ASSERT_TRUE(QFile::remove(folder.filePath(Identity::envelopeKeyFile)));
    ASSERT_TRUE(QFile::copy(whole.filePath(Identity::envelopeKeyFile), folder.filePath(Identity::envelopeKeyFile)));
    EXPECT_FALSE(Identity::load(folder.path(), problem)) << "a key that belongs to another certificate";
}

} // namespace kelpay::sandbox::test

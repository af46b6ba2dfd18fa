#pragma once

#include "Bytes.h"

#include <QString>

#include <optional>

namespace kelpay {

/// A set of named resource files. A missing one is std::nullopt. Any thread.
class Bundle
{
public:
    /// The SDK's own resources, identifier "dev.kel.KelPay": compiled in, with the deployer's files laid over them. In
    /// a sandbox build the folder named by KELPAY_RESOURCES lies on top, file by file.
    static const Bundle &sdk();
    /// The host application's resources: the Qt resource root, then the executable's folder.
    static const Bundle &main();

    /// A path that QFile reads, for resource `name` of `type` (its file ending, "" for a name that already has one).
    std::optional<QString> pathForResource(const QString &name, const QString &type = {}) const;
    /// The whole file.
    std::optional<Bytes> dataForResource(const QString &name, const QString &type = {}) const;
    /// What an Image of the screens takes as source: "" where the resource is missing.
    QString urlForImage(const QString &fileName) const;

private:
    enum class Kind { Sdk, Main };
    explicit Bundle(Kind kind) : m_kind(kind) {}
    QStringList folders() const;

    Kind m_kind;
};

/// The whole file at `path`, or std::nullopt where it can't be read.
std::optional<Bytes> readFile(const QString &path);

} // namespace kelpay

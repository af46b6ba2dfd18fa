#pragma once

#include <QString>

#include <optional>

namespace kelpay {

/// The folder of everything the SDK remembers: "<XDG data home>/<host identifier>/kelpay". Made if need be, open to its
/// owner only (0700). std::nullopt, with a log line that says what to do, where it can't be had.
std::optional<QString> stateFolder();

/// Makes the file at `path` if need be, readable and writable by its owner only (0600) whatever the umask.
bool makePrivateFile(const QString &path);

} // namespace kelpay

#pragma once

#include <QString>

#include <optional>

namespace kelpay {

/// The folder of everything the SDK remembers: "<XDG data home>/<host identifier>/kelpay". Made if need be, open to its
/// owner only (0700). std::nullopt, with a log line that says what to do, where it can't be had or is not this user's
/// own folder; a link to one does not count.
std::optional<QString> stateFolder();

} // namespace kelpay

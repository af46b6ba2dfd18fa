#pragma once

#include <QString>

namespace kelpay::bench {

/// Registers "default" and "default bare", one write of a user default and the same row committed by SQLite alone with
/// a write-ahead log and no sync; "keychain" and "keychain bare", one update of a keychain value and the same row
/// committed with a sync, in wall time. The files are made in `folder`.
void registerStores(const QString &folder);

} // namespace kelpay::bench

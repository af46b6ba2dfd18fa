#pragma once

#include <QString>

namespace kelpay::bench {

/// Registers "default" and "default bare": one write of a user default, and the same row committed by SQLite's own
/// calls with a write-ahead log and no sync; and "ledger" and "ledger bare": what the ledger of attempts writes of one
/// exchange, and two such rows committed with a sync each. The files are made in `folder`.
void registerStores(const QString &folder);

} // namespace kelpay::bench

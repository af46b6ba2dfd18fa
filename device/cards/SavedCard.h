#pragma once

#include <QString>

#include <vector>

namespace kelpay {

/// A card that the service keeps for the payer.
struct SavedCard
{
    QString panID;
    bool isDefault = false;
    QString pan;    ///< Masked, with "***".
    QString expiry; ///< "YYMM", or "".

    /// The cards of a list "id.flag.masked number.expiry;…;" whose last part is never read. A malformed entry is
    /// skipped with a log line.
    static std::vector<SavedCard> fromList(const QString &pl);
    /// The last one marked as default; null when none is. Lives in `cards`.
    static const SavedCard *defaultOf(const std::vector<SavedCard> &cards);
    /// "YYMM" as "YY/MM"; "" stays.
    static QString slashed(const QString &expiry);
};

} // namespace kelpay

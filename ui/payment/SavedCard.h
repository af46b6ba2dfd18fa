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
    /// A number with all its digits but the first six and the last four starred; one with ten or fewer stays.
    static QString masked(const QString &pan);
    /// "YYMM" as "YY/MM"; "" stays.
    static QString slashed(const QString &expiry);
};

} // namespace kelpay

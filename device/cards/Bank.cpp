#include "Bank.h"

#include <algorithm>
#include <array>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

struct Row
{
    QStringView prefix;
    QStringView name;
};

// Made from resources/banks.tsv.
constexpr auto table = std::to_array<Row>({
#include "BankTable.inc"
});

} // namespace

Bank Bank::issuerOf(const QString &cardNumber)
{
    const QString prefix = cardNumber.left(6);
    const auto *const found =
        std::find_if(table.begin(), table.end(), [&](const Row &row) { return row.prefix == prefix; });
    return {prefix, found == table.end() ? QString() : found->name.toString(), prefix + u".png"_s};
}

} // namespace kelpay

#include "BankTable.h"

#include <algorithm>
#include <array>

namespace kelpay {

namespace {

struct Bank
{
    QStringView prefix;
    QStringView name;
};

// Names as they are shown, with the mixed letter forms that the banks' own registry has.
// clang-format off
constexpr std::array<Bank, 40> banks{{
    {u"621986", u"بانک دورین"},
    {u"628157", u"اعتباری توسعه"},
    {u"606256", u"اعتباری ملل"},
    {u"505801", u"اعتباری کوثر"},
    {u"627412", u"بانک اقتصاد نوین"},
    {u"627381", u"بانک انصار"},
    {u"505785", u"بانک ایران زمین"},
    {u"636214", u"بانک آینده"},
    {u"622106", u"بانک پارسيان"},
    {u"639194", u"بانک پارسيان"},
    {u"639347", u"بانک پاسارگاد"},
    {u"505229", u"بانک پاسارگاد"},
    {u"627760", u"پست بانك"},
    {u"627353", u"بانک تجارت"},
    {u"502908", u"بانک توسعه تعاون"},
    {u"207177", u"بانک توسعه صادرات"},
    {u"627648", u"بانک توسعه صادرات"},
    {u"636949", u"بانک حكمت ايرانيان"},
    {u"505809", u"بانک خاورميانه"},
    {u"585947", u"بانک خاورميانه"},
    {u"502938", u"بانک دي"},
    {u"504172", u"بانک رسالت"},
    {u"589463", u"بانک رفاه"},
    {u"589210", u"بانک سپه"},
    {u"639607", u"بانک سرمایه"},
    {u"639346", u"بانک سینا"},
    {u"502806", u"بانک شهر"},
    {u"504706", u"بانک شهر"},
    {u"603769", u"بانک صادرات"},
    {u"627961", u"بانک صنعت و معدن"},
    {u"639599", u"بانک قوامین"},
    {u"627488", u"بانک کار آفرین"},
    {u"603770", u"بانک کشاورزی"},
    {u"639217", u"بانک کشاورزی"},
    {u"505416", u"بانک گردشگری"},
    {u"628023", u"بانک مسکن"},
    {u"610433", u"بانک ملت"},
    {u"603799", u"بانک ملی"},
    {u"606373", u"بانک مهر ایران"},
    {u"639370", u"بانک مهر اقتصاد"},
}};
// clang-format on

} // namespace

QString bankNameForPrefix(QStringView cardNumber)
{
    const auto *const bank =
        std::find_if(banks.begin(), banks.end(), [&](const Bank &row) { return cardNumber.startsWith(row.prefix); });
    return bank == banks.end() ? QString() : bank->name.toString();
}

} // namespace kelpay

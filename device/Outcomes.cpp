#include "Outcomes.h"

#include <algorithm>
#include <array>

namespace kelpay {

namespace {

constexpr std::array<QStringView, 7> withServiceIdentifier{u"319", u"321", u"322", u"3088", u"334", u"335", u"336"};
constexpr std::array<QStringView, 8> withKeptScreen{u"3014", u"3037", u"3038", u"3039",
                                                    u"3040", u"3078", u"3087", u"3086"};

} // namespace

bool Merchants::haveServiceIdentifier(QStringView merchant)
{
    return std::find(withServiceIdentifier.begin(), withServiceIdentifier.end(), merchant) !=
           withServiceIdentifier.end();
}

bool Merchants::keepPaymentScreen(QStringView merchant)
{
    return std::find(withKeptScreen.begin(), withKeptScreen.end(), merchant) != withKeptScreen.end();
}

} // namespace kelpay

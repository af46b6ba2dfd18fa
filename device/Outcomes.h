#pragma once

#include <QString>

namespace kelpay {

/// A code of the status callback and the text that goes with it.
struct Outcome
{
    QStringView code;
    QStringView description;
};

/// The SDK's own outcomes; every other code and text is the service's.
namespace Outcomes {
inline constexpr Outcome successful{u"1", u"Successful"};
inline constexpr Outcome cancelled{u"2525342", u"کاربر از انجام تراکنش منصرف شد"};
inline constexpr Outcome timeOver{u"2525343", u"مدت زمان تراکنش به پایان رسید"};
inline constexpr Outcome invalidMerchant{u"2525344", u"پذیرنده نامعتبر"};
inline constexpr Outcome serverError{u"2525345", u"خطا در ارتباط با سرور"};
} // namespace Outcomes

/// Merchants that are treated unlike the others, by their identifiers.
namespace Merchants {
/// Their requests carry the service's own application identifier.
bool haveServiceIdentifier(QStringView merchant);
/// Their payment screen stays after the receipt.
bool keepPaymentScreen(QStringView merchant);
} // namespace Merchants

} // namespace kelpay

#include "PaymentDetail.h"

#include <initializer_list>
#include <variant>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

constexpr std::string_view notApplicable = "NA";

using Field = std::variant<std::string_view, std::optional<QString>>;

Bytes joined(std::initializer_list<Field> fields)
{
    BytesBuilder detail(1, Storage::SecretPages);
    for (const Field &field : fields) {
        if (detail.size() > 0)
            detail.append('|');
        if (const auto *text = std::get_if<std::string_view>(&field))
            detail.append(*text);
        else
            detail.append(Bytes::fromText(std::get<std::optional<QString>>(field).value_or(u"(null)"_s)));
    }
    return detail.take();
}

} // namespace

Bytes PaymentDetail::simple(const std::optional<QString> &card, std::string_view pin) const
{
    return joined({pcc, t, card, pin, "5", notApplicable, notApplicable, rn, ta});
}

Bytes PaymentDetail::full(const std::optional<QString> &card, std::string_view pin, std::string_view cvv2,
                          const QString &expiry) const
{
    return joined({pcc, t, card, pin, "59", cvv2, std::optional(QString(expiry).remove(u'/')), rn, tb});
}

Bytes PaymentDetail::wallet() const
{
    return joined({pcc, t, notApplicable, notApplicable, "99", notApplicable, notApplicable, rn, ta ? ta : tb});
}

} // namespace kelpay

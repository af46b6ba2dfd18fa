#include "security/keychain/KeychainContext.h"

namespace kelpay {

// Each part is preceded by its length, so that no two items share one context.
Bytes contextOf(const KeychainItem &item)
{
    BytesBuilder context;
    context.append(static_cast<char>(item.itemClass));
    for (const QString &part : {item.service, item.accessGroup, item.account, item.label}) {
        const QByteArray text = part.toUtf8();
        const auto size = static_cast<std::uint32_t>(text.size());
        for (const int shift : {24, 16, 8, 0})
            context.append(static_cast<char>(size >> shift & 0xff));
        context.append(text.constData(), size); // a part may hold zero bytes
    }
    return context.take();
}

} // namespace kelpay

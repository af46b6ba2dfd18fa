#include "FingerprintService.h"

namespace kelpay {

FingerprintService::Answer FingerprintService::ask()
{
    return {false, QStringLiteral("no fingerprint service is known on this system")};
}

} // namespace kelpay

#include "FingerprintService.h"

namespace kelpay {

using namespace Qt::StringLiterals;

FingerprintService::Answer FingerprintService::ask()
{
    return {false, u"no fingerprint service is known on this system"_s};
}

} // namespace kelpay

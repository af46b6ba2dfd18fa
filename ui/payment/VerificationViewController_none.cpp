#include "VerificationViewController.h"

namespace kelpay {

bool VerificationViewController::isBrowserReady()
{
    return true;
}

} // namespace kelpay

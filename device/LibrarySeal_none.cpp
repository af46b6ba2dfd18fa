#include "LibrarySeal.h"

namespace kelpay {

bool LibrarySeal::isBroken()
{
    return false;
}

} // namespace kelpay

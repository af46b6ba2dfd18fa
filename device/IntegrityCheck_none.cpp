#include "IntegrityCheck.h"

namespace kelpay {

bool IntegrityCheck::hasDebugger()
{
    return false;
}

bool IntegrityCheck::hasPreloadedLibraries()
{
    return false;
}

bool IntegrityCheck::isTraceable()
{
    return false;
}

bool IntegrityCheck::isRoot()
{
    return false;
}

QByteArray IntegrityCheck::board()
{
    return {};
}

} // namespace kelpay

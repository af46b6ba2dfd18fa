#include "BusGreeting.h"

namespace kelpay {

bool busGreets(const QString &, std::chrono::milliseconds)
{
    return false;
}

} // namespace kelpay

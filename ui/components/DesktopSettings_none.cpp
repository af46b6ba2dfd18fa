#include "DesktopSettings.h"

namespace kelpay {

void DesktopSettings::follow() {}

} // namespace kelpay

#pragma once

#include "security/OpenSsl.h"

namespace kelpay {

/// Whether opening the file takes a second or so at most: how often it derives a key from the password anew is its
/// maker's choice, and OpenSSL counts for hours if told to. True, too, where that can't be seen, because the password
/// or the file is wrong.
bool isOpenedSoon(PKCS12 *file, const char *password);

} // namespace kelpay

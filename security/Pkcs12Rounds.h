#pragma once

struct PKCS12_st;

namespace kelpay {

/// Whether opening the file takes a second or so at most: how often it derives a key from the password anew is its
/// maker's choice, and OpenSSL counts for hours if told to. True, too, where that can't be seen, because the password
/// or the file is wrong.
bool isOpenedSoon(PKCS12_st *file, const char *password);

} // namespace kelpay

#include "platform/UrlSession.h"

#include <curl/curl.h>
#include <dlfcn.h>
#include <gtest/gtest.h>

namespace {

int failingStarts = 0;

} // namespace

/// In libcurl's place.
extern "C" CURLcode curl_global_init(long flags)
{
    static auto *const real = reinterpret_cast<decltype(&curl_global_init)>(dlsym(RTLD_NEXT, "curl_global_init"));
    return failingStarts-- > 0 ? CURLE_OUT_OF_MEMORY : real(flags);
}

namespace kelpay {

using namespace Qt::StringLiterals;

TEST(UrlSession, AFailedStartIsTriedAgain)
{
    failingStarts = 1;
    const auto fault = [] {
        return std::get<TransportError>(UrlSession::contents(QUrl(u"https://127.0.0.1:1/"_s))).localizedDescription;
    };
    EXPECT_EQ(fault(), u"the HTTPS client can't be started"_s);
    EXPECT_NE(fault(), u"the HTTPS client can't be started"_s);
}

} // namespace kelpay

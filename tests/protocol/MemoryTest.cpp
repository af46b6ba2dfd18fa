#include "Exchanges.h"

#include "platform/Json.h"
#include "tests/Sanitized.h"

#include <algorithm>
#include <atomic>
#include <malloc.h>

// A sanitizer has an allocator of its own.
#ifndef KELPAY_SANITIZED_MEMORY

namespace {

std::atomic<std::int64_t> held = 0;
std::atomic<std::int64_t> peak = 0;

void *counted(void *storage)
{
    const std::int64_t now = held += static_cast<std::int64_t>(malloc_usable_size(storage));
    if (now > peak)
        peak = now;
    return storage;
}

} // namespace

extern "C" void *mallocOfTheSystem(std::size_t size) __asm__("__libc_malloc");
extern "C" void *callocOfTheSystem(std::size_t count, std::size_t size) __asm__("__libc_calloc");
extern "C" void *reallocOfTheSystem(void *former, std::size_t size) __asm__("__libc_realloc");
extern "C" void freeOfTheSystem(void *storage) __asm__("__libc_free");

extern "C" void *malloc(std::size_t size)
{
    return counted(mallocOfTheSystem(size));
}
extern "C" void *calloc(std::size_t count, std::size_t size)
{
    return counted(callocOfTheSystem(count, size));
}
extern "C" void *realloc(void *former, std::size_t size)
{
    held -= static_cast<std::int64_t>(malloc_usable_size(former));
    return counted(reallocOfTheSystem(former, size));
}
extern "C" void free(void *storage)
{
    held -= static_cast<std::int64_t>(malloc_usable_size(storage));
    freeOfTheSystem(storage);
}

namespace kelpay {

TEST_F(ExchangeTest, AnAnswerTakesEightTimesItsSizeAtMost)
{
    constexpr qsizetype size = 750'000; // a megabyte when it is sealed
    const auto filled = [](const QString &frame, const QString &piece) {
        QString inside = piece.repeated(size / piece.toUtf8().size());
        return frame.arg(inside);
    };
    for (const auto &[name, json] :
         {std::pair("one text", filled(u"{\"rc\":0,\"ds\":\"%1\"}"_s, u"x"_s)),
          {"escapes", filled(u"{\"rc\":0,\"ds\":\"%1\"}"_s, u"\\u0633"_s)},
          {"texts that are kept", filled(u"{\"rc\":0,\"rd\":{\"pl\":\"%1\"}}"_s, u"س"_s)},
          {"numbers", filled(u"{\"rc\":0,\"x\":[%10]}"_s, u"1,"_s)},
          {"kept numbers", filled(u"{\"rc\":0,\"ds\":[%10]}"_s, u"1,"_s)},
          {"empty objects", filled(u"{\"rc\":0,\"x\":[%1{}]}"_s, u"{},"_s)},
          {"nests", filled(u"{\"rc\":0,\"x\":[%10]}"_s, u"[[[[[[]]]]]],"_s)},
          {"short numbers", filled(u"{\"rc\":0,\"ds\":[%10]}"_s, u"12,"_s)},
          {"small objects", filled(u"{\"rc\":0,\"ds\":[%1{}]}"_s, u"{\"id\":1,\"n\":\"xxxxxxxxxxxxx\"},"_s)},
          {"no JSON", filled(u"%1"_s, u"["_s)}}) {
        for (const Send send : {Send(token), Send(payment)}) {
            ((*CoreNetworking::create(surroundings())).*send)(Bytes("0912||x||7"), {});
            const UrlResult result = UrlResponse{200, sealed(json)};
            const auto body = std::get<UrlResponse>(result).body.size();
            const std::int64_t before = held;
            peak = before;
            std::exchange(completion, {})(result);
            EXPECT_LE(peak - before, 7 * body) << name << ", beside the answer itself";
        }
    }
}

TEST(Json, AListTakesEightTimesItsSizeAtMost)
{
    constexpr qsizetype size = qsizetype{8} * 1024 * 1024;
    for (const auto &[piece, isRead] :
         {std::pair(QByteArray(R"({"id":1,"name":"xxxxxxxxxxxxxxxxxxxxxxxxxxxxxx","price":100000},)"), true),
          {QByteArray(R"({"id":1,"n":"xxxxxxxxxxxxx"},)"), false},
          {QByteArray("12345,"), true},
          {QByteArray(R"("\u0633\u0633\u0633\u0633",)"), true},
          {QByteArray("1,"), false},
          {QByteArray("{},"), false},
          {QByteArray("[[[[[[]]]]]],"), false}}) {
        const QByteArray list = '[' + piece.repeated(size / piece.size()) + "0]";
        const std::int64_t before = held;
        peak = before;
        EXPECT_EQ(readJson(list, JsonUse::List).isArray(), isRead) << piece.constData();
        EXPECT_LE(peak - before, 7 * list.size())
            << piece.constData() << ", beside the list itself: " << double(peak - before) / double(list.size());
    }
}

} // namespace kelpay

#endif

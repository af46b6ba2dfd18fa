// Compiled into every host that links KelPay::KelPay. A linker that keeps only what is named (--as-needed) would drop
// the library from a host that uses it in QML alone.

extern "C" void kelpay_anchor();

namespace {

[[gnu::used]] void (*const anchor)() = kelpay_anchor;

} // namespace

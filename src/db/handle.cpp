#include "db/handle.h"

namespace vela::db {

std::optional<Handle> Handle::fromText(std::string_view text) {
    if (text.empty() || text.size() > 16) return std::nullopt;
    std::uint64_t v = 0;
    for (char c : text) {
        int d;
        if (c >= '0' && c <= '9')
            d = c - '0';
        else if (c >= 'A' && c <= 'F')
            d = c - 'A' + 10;
        else if (c >= 'a' && c <= 'f')
            d = c - 'a' + 10;
        else
            return std::nullopt;
        v = (v << 4) | static_cast<std::uint64_t>(d);
    }
    return Handle(v);
}

std::string Handle::toText() const {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    char buf[16];
    int n = 0;
    std::uint64_t v = value_;
    do {
        buf[15 - n++] = kDigits[v & 0xF];
        v >>= 4;
    } while (v != 0);
    return std::string(buf + 16 - n, static_cast<std::size_t>(n));
}

}  // namespace vela::db

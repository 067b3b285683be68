#include "db/handle.h"

#include <gtest/gtest.h>

namespace vela::db {
namespace {

TEST(HandleText, WritesUpperCaseHexWithoutPrefixOrLeadingZeros) {
    EXPECT_EQ(Handle(0x2B7).toText(), "2B7");
    EXPECT_EQ(Handle(0).toText(), "0");
    EXPECT_EQ(Handle(0xFFFFFFFFFFFFFFFFull).toText(), "FFFFFFFFFFFFFFFF");
    EXPECT_EQ(Handle(0x10).toText(), "10");
}

TEST(HandleText, ParsesEitherCaseAndRoundTrips) {
    for (std::uint64_t v : {1ull, 0x2B7ull, 0xABCDEFull, 0x8000000000000000ull, 0xFFFFFFFFFFFFFFFFull}) {
        const auto h = Handle::fromText(Handle(v).toText());
        ASSERT_TRUE(h.has_value());
        EXPECT_EQ(h->value(), v);
    }
    EXPECT_EQ(Handle::fromText("2b7")->value(), 0x2B7u);
    EXPECT_EQ(Handle::fromText("002B7")->value(), 0x2B7u);
}

TEST(HandleText, RejectsAnythingButHexDigits) {
    for (const char* bad : {"", "0x2B7", " 2B7", "2B7 ", "ZZZ", "2B7G", "-1", "12345678901234567", "+5"})
        EXPECT_FALSE(Handle::fromText(bad).has_value()) << bad;
}

}  // namespace
}  // namespace vela::db

#include "db/dxf/tags/tag_writer.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "binary_dxf_builder.h"
#include "db/dxf/tags/tag_reader.h"

namespace vela::db::dxf {
namespace {

TEST(TagWriter, WritesTheLayoutAutoCadReads) {
    std::string out;
    TagWriter w(out);
    w.writeString(0, "SECTION");
    w.writeInt(70, -5);
    w.writeDouble(40, 1.0);
    w.writeDouble(40, 0.1);
    w.writeDouble(40, 1e20);
    w.writeDouble(40, -0.0);
    w.writeHandle(5, 0x1F);
    w.writeHandle(330, 0);
    w.writeBool(290, true);
    w.writeInt(1071, 2147483647);
    EXPECT_EQ(out,
              "  0\nSECTION\n 70\n-5\n 40\n1.0\n 40\n0.1\n 40\n1e+20\n 40\n-0.0\n  5\n1F\n330\n0\n290\n1\n"
              "1071\n2147483647\n");
    EXPECT_EQ(w.repairedValues(), 0u);
}

TEST(TagWriter, RepairsValuesThatWouldBreakTheFile) {
    std::string out;
    TagWriter w(out, LineEnding::CrLf);
    w.writeString(1, "two\r\nlines\n");
    w.writeDouble(10, std::numeric_limits<double>::quiet_NaN());
    w.writeDouble(20, -std::numeric_limits<double>::infinity());
    w.writeString(4, std::string_view("de\0sk", 5));
    EXPECT_EQ(out, "  1\r\ntwo  lines \r\n 10\r\n0.0\r\n 20\r\n0.0\r\n  4\r\ndesk\r\n");
    EXPECT_EQ(w.repairedValues(), 4u);
}

TEST(TagWriter, CopiesBinaryDxfTagsToAscii) {
    BinaryDxf f;
    f.str(0, "LINE").str(5, "A1").num(10, 0.5).num<std::int16_t>(70, -7).num<std::int32_t>(90, 100000);
    f.num<std::uint8_t>(290, 1).num<std::int64_t>(160, 1LL << 40);
    f.code(310).raw(2).raw('\xAB').raw('\xCD');

    std::string out;
    TagWriter w(out);
    TagReader binary(f.data);
    Tag t;
    while (binary.next(t)) w.writeTag(t);
    ASSERT_FALSE(binary.failed());
    EXPECT_EQ(out,
              "  0\nLINE\n  5\nA1\n 10\n0.5\n 70\n-7\n 90\n100000\n290\n1\n160\n1099511627776\n310\nABCD\n");
}

}  // namespace
}  // namespace vela::db::dxf

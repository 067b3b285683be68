#include "db/dxf/tags/tag_reader.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "binary_dxf_builder.h"
#include "db/dxf/tags/group_code.h"

namespace vela::db::dxf {
namespace {

struct Read {
    std::vector<Tag> tags;
    std::string error;  // empty when the data read to its end cleanly
};

Read readAll(std::string_view data) {
    Read r;
    TagReader reader(data);
    Tag tag;
    while (reader.next(tag)) r.tags.push_back(tag);
    if (reader.failed()) r.error = reader.error()->text();
    return r;
}

TEST(TagReaderAscii, SplitsLinesInAllTheFormsWritersUse) {
    // AutoCAD's right-aligned codes, CRLF, a code with trailing blanks, a string with leading blanks,
    // an empty value and a last line without newline.
    const std::string data =
        "  0\r\nSECTION\r\n  2\r\nENTITIES\r\n10  \r\n  1.5\r\n1\n  two words\n3\n\n  0\nEOF";
    const Read r = readAll(data);
    ASSERT_EQ(r.error, "");
    ASSERT_EQ(r.tags.size(), 6u);
    EXPECT_TRUE(r.tags[0].is(0, "SECTION"));
    EXPECT_TRUE(r.tags[1].is(2, "ENTITIES"));
    EXPECT_EQ(r.tags[2].code, 10);
    EXPECT_EQ(r.tags[2].toDouble(), 1.5);
    EXPECT_EQ(r.tags[3].value, "  two words");
    EXPECT_EQ(r.tags[4].value, "");
    EXPECT_TRUE(r.tags[5].is(0, "EOF"));
    const std::size_t lines[] = {1, 3, 5, 7, 9, 11};
    for (std::size_t i = 0; i < 6; ++i) EXPECT_EQ(r.tags[i].line, lines[i]);
}

TEST(TagReaderAscii, BomAndTrailingBlankLinesAreNotTags) {
    const Read r = readAll("\xEF\xBB\xBF  0\nEOF\n\n   \r\n\x1A");
    EXPECT_EQ(r.error, "");
    ASSERT_EQ(r.tags.size(), 1u);
    EXPECT_EQ(r.tags[0].line, 1u);
    EXPECT_EQ(readAll("").tags.size(), 0u);
}

TEST(TagReaderAscii, MalformedInputGivesLineAndExpectation) {
    const struct {
        const char* data;
        const char* error;
    } cases[] = {
        {"  0\nSECTION\nABC\nx\n", "line 3: expected a group code, found 'ABC'"},
        {"  0\nSECTION\n1 0\nx\n", "line 3: expected a group code, found '1 0'"},
        {"\n  0\nEOF\n", "line 1: expected a group code, found ''"},
        {"\x01\xFF\nx\n", "line 1: expected a group code, found '\\x01\\xFF'"},
        {"  0\nSECTION\n  2", "line 4: expected a value for group code 2, found end of file"},
        {"  0\nSECTION\n  2\r\n", "line 4: expected a value for group code 2, found end of file"},
        {"1072\nx\n", "line 1: group code 1072 is out of range (0..1071)"},
        {"  -1\nx\n", "line 1: group code -1 is out of range (0..1071)"},
        {"99999999999999999999\nx\n", "line 1: group code 99999999999999999999 is out of range"},
    };
    for (const auto& c : cases) {
        const Read r = readAll(c.data);
        EXPECT_EQ(r.error, c.error) << c.data;
    }
}

TEST(TagReaderAscii, ErrorStopsTheReaderForGood) {
    TagReader reader("  0\nA\nB\nx\n  0\nC\n");
    Tag tag;
    EXPECT_TRUE(reader.next(tag));
    EXPECT_FALSE(reader.next(tag));
    EXPECT_FALSE(reader.next(tag));
    EXPECT_TRUE(reader.failed());
}

TEST(TagReader, PeekAndPushBackReturnTheSameTagOnce) {
    TagReader reader("  0\nLINE\n  8\nWalls\n  0\nEOF\n");
    Tag a, b;
    ASSERT_TRUE(reader.peek(a));
    ASSERT_TRUE(reader.next(b));
    EXPECT_TRUE(a.is(0, "LINE") && b.is(0, "LINE"));
    ASSERT_TRUE(reader.next(b));
    reader.pushBack();
    ASSERT_TRUE(reader.next(a));
    EXPECT_TRUE(a.is(8, "Walls"));
    EXPECT_EQ(a.line, 3u);
    ASSERT_TRUE(reader.next(a));
    EXPECT_TRUE(a.is(0, "EOF"));
    EXPECT_FALSE(reader.next(a));
    EXPECT_FALSE(reader.failed());
}

Tag textTag(int code, std::string_view value) {
    Tag t;
    t.code = code;
    t.value = value;
    t.line = 7;
    return t;
}

TEST(TagAccessors, ParseNumbersAndRejectWhatIsNotOne) {
    EXPECT_EQ(textTag(40, " -2.5e3 ").toDouble(), -2500.0);
    EXPECT_EQ(textTag(40, "+.5").toDouble(), 0.5);
    EXPECT_EQ(textTag(40, "3").toDouble(), 3.0);
    EXPECT_EQ(textTag(40, " -1,25 ").toDouble(), -1.25) << "a decimal comma, as some locales write numbers";
    for (const char* bad : {"", " ", "1,2,5", "1,5.0", "1.5x", "nan", "inf", "1e400", "--1", "0x10", ","})
        EXPECT_FALSE(textTag(40, bad).toDouble()) << bad;

    EXPECT_EQ(textTag(70, "     -32768").toInt16(), -32768);
    EXPECT_FALSE(textTag(70, "32768").toInt16());
    EXPECT_FALSE(textTag(70, "1.0").toInt16());
    EXPECT_EQ(textTag(90, "2147483647").toInt32(), 2147483647);
    EXPECT_FALSE(textTag(90, "2147483648").toInt32());
    EXPECT_EQ(textTag(160, "-9223372036854775808").toInt64(), INT64_MIN);
    EXPECT_FALSE(textTag(160, "9223372036854775808").toInt64());
    EXPECT_EQ(textTag(290, "1").toBool(), true);
    EXPECT_EQ(textTag(290, "0").toBool(), false);
    EXPECT_FALSE(textTag(290, "yes").toBool());
}

TEST(TagAccessors, HandlesAreHexWithoutPrefix) {
    EXPECT_EQ(textTag(5, "1F").toHandle(), 0x1Fu);
    EXPECT_EQ(textTag(330, "ffffffffffffffff").toHandle(), UINT64_MAX);
    EXPECT_EQ(textTag(5, "0").toHandle(), 0u);
    for (const char* bad : {"", "G1", "0x1F", "1 F", "10000000000000000"})
        EXPECT_FALSE(textTag(5, bad).toHandle()) << bad;
}

TEST(TagAccessors, BinaryChunksAppendAndFailWithoutPartialOutput) {
    std::vector<std::uint8_t> out;
    EXPECT_TRUE(textTag(310, "00FFa5").appendBinary(out));
    EXPECT_TRUE(textTag(310, "01").appendBinary(out));
    EXPECT_EQ(out, (std::vector<std::uint8_t>{0x00, 0xFF, 0xA5, 0x01}));
    EXPECT_FALSE(textTag(310, "0").appendBinary(out));
    EXPECT_FALSE(textTag(310, "00ZZ").appendBinary(out));
    EXPECT_EQ(out.size(), 4u);
}

TEST(TagAccessors, ErrorNamesLineCodeAndValue) {
    EXPECT_EQ(textTag(40, "abc").error("a floating-point number").text(),
              "line 7: expected a floating-point number for group code 40, found 'abc'");
    const std::string longValue(50, 'x');
    EXPECT_EQ(textTag(1, longValue).error("a name").message,
              "expected a name for group code 1, found '" + std::string(40, 'x') + "...'");
}

TEST(GroupCode, SingleCodesInsideRangesAndGaps) {
    EXPECT_EQ(valueTypeOf(4), ValueType::String);
    EXPECT_EQ(valueTypeOf(5), ValueType::Handle);
    EXPECT_EQ(valueTypeOf(105), ValueType::Handle);
    EXPECT_EQ(valueTypeOf(1004), ValueType::Binary);
    EXPECT_EQ(valueTypeOf(1005), ValueType::Handle);
    EXPECT_EQ(valueTypeOf(1006), ValueType::String);
    for (int gap : {-1, 80, 150, 482, 998, 1072}) EXPECT_EQ(valueTypeOf(gap), ValueType::Unknown) << gap;
    EXPECT_EQ(pointAxis(10), 0);
    EXPECT_EQ(pointAxis(31), 2);
    EXPECT_EQ(pointAxis(122), 1);
    EXPECT_EQ(pointAxis(1020), 1);
    EXPECT_EQ(pointAxis(40), -1);
}

TEST(TagReaderBinary, ReadsEveryValueForm) {
    for (const bool oneByte : {false, true}) {
        BinaryDxf f(oneByte);
        f.str(0, "SECTION").num(10, 1.25).num<std::int16_t>(70, -3).num<std::int32_t>(90, 70000);
        f.num<std::int64_t>(160, -5000000000).num<std::uint8_t>(290, 1).str(5, "2A").str(1000, "x");
        f.code(310).raw(3).raw('\x01').raw('\0').raw('\xFF').num<std::int16_t>(1070, 12).str(0, "EOF");
        TagReader reader(f.data);
        EXPECT_TRUE(reader.isBinary());
        std::vector<Tag> tags;
        Tag tag;
        while (reader.next(tag)) tags.push_back(tag);
        ASSERT_FALSE(reader.failed()) << reader.error()->text();
        ASSERT_EQ(tags.size(), 11u);
        EXPECT_TRUE(tags[0].is(0, "SECTION"));
        EXPECT_EQ(tags[0].line, 22u);
        EXPECT_EQ(tags[1].toDouble(), 1.25);
        EXPECT_EQ(tags[2].toInt16(), -3);
        EXPECT_EQ(tags[2].toDouble(), -3.0);
        EXPECT_EQ(tags[3].toInt32(), 70000);
        EXPECT_FALSE(tags[3].toInt16());
        EXPECT_EQ(tags[4].toInt64(), -5000000000);
        EXPECT_EQ(tags[5].toBool(), true);
        EXPECT_EQ(tags[6].toHandle(), 0x2Au);
        EXPECT_EQ(tags[7].code, 1000);
        std::vector<std::uint8_t> bytes;
        EXPECT_TRUE(tags[8].appendBinary(bytes));
        EXPECT_EQ(bytes, (std::vector<std::uint8_t>{1, 0, 0xFF}));
        EXPECT_EQ(tags[9].toInt16(), 12);
        EXPECT_FALSE(tags[1].toInt32());  // a stored double never silently becomes an integer
        EXPECT_TRUE(tags[10].is(0, "EOF"));
    }
}

TEST(TagReaderBinary, MalformedInputGivesOffsetAndExpectation) {
    const std::string s(kBinaryDxfSentinel);
    const struct {
        std::string data;
        const char* error;
    } cases[] = {
        {"AutoCAD Binary DXF\r\n", "offset 0: truncated binary DXF sentinel"},
        {s + '\0', "offset 22: expected a group code, found end of file"},
        {BinaryDxf().str(0, "SECTION").code(2).data + "HEAD",
         "offset 32: expected a zero-terminated string for group code 2, found end of file"},
        {BinaryDxf().code(10).data + "abc",
         "offset 22: expected a coordinate (8 bytes) for group code 10, found 3 bytes before end of file"},
        {BinaryDxf().code(310).raw(5).raw('a').data,
         "offset 22: binary chunk of group code 310 declares 5 bytes but only 1 remain"},
        {BinaryDxf().code(310).data,
         "offset 22: expected a binary chunk length for group code 310, found end of file"},
        {s + "\x50\x7F", "offset 22: group code 32592 is out of range (0..1071)"},
        {BinaryDxf().code(85).data + "xx", "offset 22: group code 85 has no defined value type"},
    };
    for (const auto& c : cases) EXPECT_EQ(readAll(c.data).error, c.error);
}

}  // namespace
}  // namespace vela::db::dxf

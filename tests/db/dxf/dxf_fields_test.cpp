#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "db/dxf/fields/dxf_io.h"
#include "db/dxf/fields/tag_output.h"
#include "db/dxf/tags/tag_reader.h"

namespace vela::db {
namespace {

// A record declared once with lists and conditions of every kind, the way an object type declares its groups.
struct Sample {
    struct Item {
        Point2d point;
        double bulge = 0.0;                       // only when the record says it has bulges
        double startWidth = 0.0, endWidth = 0.0;  // written when they say something
        std::vector<double> dashes;               // a counted list inside an item
        bool operator==(const Item&) const = default;
    };
    std::string name;
    bool hasBulges = false;
    std::vector<Item> items;
    std::vector<double> knots;  // counted before other groups, listed after them
    std::string text;
    bool operator==(const Sample&) const = default;

    template <class Io, class Self>
    static void fields(Io& io, Self& self) {
        io.subclass("AcDbSample");
        io.str(2, self.name);
        const ListCount knots = io.count(72, self.knots);
        io.boolean(70, self.hasBulges);
        io.list(90, 10, self.items, [&](auto& io, auto& item) {
            io.point2(10, item.point);
            io.when(self.hasBulges, [&] { io.real(42, item.bulge); });
            io.optional(item.startWidth != 0.0 || item.endWidth != 0.0, [&] {
                io.real(43, item.startWidth);
                io.real(44, item.endWidth);
            });
            io.list(79, 49, item.dashes, [](auto& io, auto& d) { io.real(49, d); });
        });
        io.items(
            40, self.knots, [](auto& io, auto& k) { io.real(40, k); }, knots);
        io.chunkedText(1, 3, self.text);
    }
};

using Groups = std::vector<std::pair<int, std::string>>;

std::string text(const Groups& groups) {
    std::string out;
    for (const auto& [code, value] : groups) out += std::to_string(code) + "\n" + value + "\n";
    return out;
}

Groups groups(const std::string& text) {
    Groups out;
    dxf::TagReader reader(text);
    dxf::Tag tag;
    while (reader.next(tag)) out.emplace_back(tag.code, std::string(tag.value));
    EXPECT_FALSE(reader.failed());
    return out;
}

std::string write(const Sample& sample, const ObjectExtras* kept = nullptr) {
    std::string out;
    dxf::TagWriter writer(out);
    TagOutput output(writer);
    DxfWriteIo io(output, kept);
    Sample::fields(io, sample);
    io.end();
    return out;
}

struct Read {
    Sample sample;
    ObjectExtras kept;
    std::vector<std::string> errors;
};

Read read(const std::string& data) {
    DxfInput in(nullptr);
    dxf::TagReader reader(data);
    dxf::Tag tag;
    while (reader.next(tag)) in.addGroup(tag.code, tag.value, tag.line);
    Read r;
    DxfReadIo io(in);
    Sample::fields(io, r.sample);
    in.finish();
    r.kept.keptTags = in.unusedGroups();
    r.errors = in.errors();
    return r;
}

Sample twoItems() {
    Sample s;
    s.name = "two";
    s.hasBulges = true;
    s.items = {{{0, 0}, 0.5, 0.1, 0.2, {1.0, -0.5}}, {{10, 0}, 0.0, 0.0, 0.0, {}}};
    s.knots = {0, 0, 1, 1};
    s.text = "short";
    return s;
}

TEST(DxfFields, OneDeclarationWritesCountsBeforeItemsAndReadsThemBack) {
    const Sample s = twoItems();
    const std::string written = write(s);
    EXPECT_EQ(groups(written),
              (Groups{{100, "AcDbSample"}, {2, "two"},   {72, "4"},   {70, "1"},   {90, "2"}, {10, "0.0"},
                      {20, "0.0"},         {42, "0.5"},  {43, "0.1"}, {44, "0.2"}, {79, "2"}, {49, "1.0"},
                      {49, "-0.5"},        {10, "10.0"}, {20, "0.0"}, {42, "0.0"}, {79, "0"}, {40, "0.0"},
                      {40, "0.0"},         {40, "1.0"},  {40, "1.0"}, {1, "short"}}));
    const Read back = read(written);
    EXPECT_EQ(back.sample, s);
    EXPECT_EQ(back.kept.keptTags, std::vector<DxfTag>{}) << "the declaration takes every group it wrote";
    EXPECT_TRUE(back.errors.empty());
}

TEST(DxfFields, ConditionsDecideWhatIsWrittenAndWhatIsRead) {
    Sample s = twoItems();
    s.hasBulges = false;
    const Groups written = groups(write(s));
    for (const auto& [code, value] : written)
        EXPECT_NE(code, 42) << "no bulges when the record says it has none";
    EXPECT_EQ(
        read(text(written)).sample.items,
        (std::vector<Sample::Item>{{{0, 0}, 0.0, 0.1, 0.2, {1.0, -0.5}}, {{10, 0}, 0.0, 0.0, 0.0, {}}}));

    // A bulge in a file whose flag says there are none is not taken for one: it is kept, in its section.
    const Read r =
        read(text({{100, "AcDbSample"}, {70, "0"}, {90, "1"}, {10, "1"}, {20, "2"}, {42, "0.25"}}));
    ASSERT_EQ(r.sample.items.size(), 1u);
    EXPECT_EQ(r.sample.items[0].bulge, 0.0);
    EXPECT_EQ(r.kept.keptTags, (std::vector<DxfTag>{{100, "AcDbSample"}, {42, "0.25"}}));

    // Optional groups are read whenever a file has them, whatever their values.
    const Read widths =
        read(text({{100, "AcDbSample"}, {90, "1"}, {10, "1"}, {20, "2"}, {43, "0"}, {44, "0"}}));
    ASSERT_EQ(widths.sample.items.size(), 1u);
    EXPECT_TRUE(widths.kept.keptTags.empty());
}

TEST(DxfFields, MalformedCountsNeitherOverreadNorAllocate) {
    struct Case {
        const char* name;
        const char* count;  // null: no count group
        std::size_t items;  // items read of the two present
        bool reported;      // the count is no integer at all: an error, and no limit
    };
    const Case cases[] = {
        {"larger than the items", "5", 2, false},  {"negative", "-3", 2, false},
        {"huge", "9223372036854775807", 2, false}, {"beyond 64 bits", "99999999999999999999", 2, true},
        {"not a number", "two", 2, true},          {"missing", nullptr, 2, false},
        {"fewer than the items", "1", 1, false},   {"zero", "0", 0, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Groups in = {{100, "AcDbSample"}, {70, "0"}};
        if (c.count) in.emplace_back(90, c.count);
        in.insert(in.end(), {{10, "1"}, {20, "2"}, {79, "2147483647"}, {49, "0.5"}, {10, "3"}, {20, "4"}});
        const Read r = read(text(in));
        ASSERT_EQ(r.sample.items.size(), c.items);
        EXPECT_EQ(r.errors.size(), c.reported ? 1u : 0u);
        EXPECT_LE(r.sample.items.capacity(), 2u) << "room only for the items the groups can hold";
        if (c.items > 0) {
            EXPECT_EQ(r.sample.items[0].dashes, std::vector<double>{0.5});
            EXPECT_EQ(r.sample.items[0].dashes.capacity(), 1u);
        }
        // Items the count leaves out are kept, and written back: a second trip reads and writes the same.
        const std::string once = write(r.sample, &r.kept);
        const Read again = read(once);
        EXPECT_EQ(again.sample, r.sample);
        EXPECT_EQ(write(again.sample, &again.kept), once);
        std::size_t points = 0;
        for (const auto& [code, value] : groups(once)) points += code == 10 ? 1 : 0;
        EXPECT_EQ(points, 2u) << "no point is lost";
    }
}

TEST(DxfFields, LongTextTravelsInChunksThatNeverSplitACharacter) {
    Sample s;
    for (int i = 0; i < 300; ++i) s.text += "é";  // 600 bytes of two-byte characters
    s.text += "!";
    const Groups written = groups(write(s));
    std::string joined;
    std::size_t chunks = 0;
    for (const auto& [code, value] : written) {
        if (code != 3 && code != 1) continue;
        chunks += code == 3 ? 1 : 0;
        EXPECT_LE(value.size(), 250u);
        EXPECT_NE(static_cast<unsigned char>(value.front()) & 0xC0, 0x80) << "a chunk starts a character";
        joined += value;
    }
    EXPECT_EQ(chunks, 2u);
    EXPECT_EQ(joined, s.text);
    EXPECT_EQ(read(text(written)).sample.text, s.text);

    // Bytes that are no UTF-8 at all still come out in chunks, and the write ends.
    s.text = std::string(600, '\x80');
    EXPECT_EQ(read(write(s)).sample.text, s.text);
}

}  // namespace
}  // namespace vela::db

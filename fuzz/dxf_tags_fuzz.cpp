// Feeds arbitrary bytes to the DXF tag layer. Besides "no crash, no hang, no sanitizer report" it
// checks the properties the loader relies on and traps when one breaks:
//  - a peeked tag is the tag next() returns;
//  - every error names a line or an offset;
//  - whatever was read, written back as ASCII and read again gives the same tags;
//  - decoded text is valid UTF-8 in every code page.
//
// Build: clang++ -std=c++20 -O1 -g -fsanitize=fuzzer,address -Isrc fuzz/dxf_tags_fuzz.cpp src/db/dxf/*.cpp
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "db/dxf/file/header_scan.h"
#include "db/dxf/tags/tag_reader.h"
#include "db/dxf/tags/tag_writer.h"
#include "db/dxf/tags/text_codec.h"

namespace {

using namespace vela::db::dxf;

void check(bool ok) {
    if (!ok) __builtin_trap();
}

bool sameDouble(std::optional<double> a, std::optional<double> b) {
    return a.has_value() == b.has_value() && (!a || std::memcmp(&*a, &*b, sizeof(double)) == 0);
}

// The same tag after an ASCII round trip: text stays byte for byte, binary values keep their value.
bool sameTag(const Tag& original, const Tag& copy) {
    if (original.code != copy.code) return false;
    switch (original.storage) {
        case Storage::Text:
            return original.value == copy.value;
        case Storage::Double:
            return sameDouble(original.toDouble(), copy.toDouble());
        case Storage::Int16:
        case Storage::Int32:
        case Storage::Int64:
        case Storage::Byte:
            return original.toInt64() == copy.toInt64();
        case Storage::Bytes: {
            std::vector<std::uint8_t> a, b;
            return original.appendBinary(a) && copy.appendBinary(b) && a == b;
        }
    }
    return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const auto cp = static_cast<CodePage>(size % (static_cast<std::size_t>(CodePage::MacRoman) + 1));

    TagReader reader(input);
    std::string ascii;
    TagWriter writer(ascii);
    std::vector<Tag> tags;
    std::vector<std::uint8_t> bytes;
    Tag tag, peeked;
    while (true) {
        const bool hasPeek = tags.size() % 3 == 1 && reader.peek(peeked);
        if (!reader.next(tag)) break;
        if (hasPeek) check(peeked.code == tag.code && peeked.value.data() == tag.value.data());

        (void)tag.toDouble();
        (void)tag.toInt16();
        (void)tag.toInt32();
        (void)tag.toBool();
        (void)tag.toHandle();
        bytes.clear();
        (void)tag.appendBinary(bytes);
        check(!tag.error("a value").text().empty());
        if (tag.storage == Storage::Text && tags.size() < 64) {
            check(isValidUtf8(decodeText(tag.value, cp)));
            check(isValidUtf8(encodeText(tag.value, CodePage::Utf8)));
            (void)encodeText(tag.value, cp);
        }
        writer.writeTag(tag);
        tags.push_back(tag);
    }
    if (reader.failed()) {
        const std::string text = reader.error()->text();
        check(text.starts_with("line ") || text.starts_with("offset "));
    } else if (writer.repairedValues() == 0) {
        TagReader again(ascii);
        std::size_t i = 0;
        while (again.next(tag)) check(i < tags.size() && sameTag(tags[i++], tag));
        check(!again.failed() && i == tags.size());
    }

    (void)detectCodePage(input);
    return 0;
}

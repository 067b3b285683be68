#include "db/dxf/file/header_scan.h"

#include "db/dxf/tags/tag_reader.h"

namespace vela::db::dxf {

namespace {

std::string trimmed(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t')) s.remove_suffix(1);
    return std::string(s);
}

}  // namespace

HeaderInfo scanHeader(std::string_view data) {
    HeaderInfo result;
    result.utf8Bom = data.starts_with("\xEF\xBB\xBF");
    TagReader reader(data);
    Tag tag;
    // Comments may come before the first section; anything else first means there is no HEADER.
    do {
        if (!reader.next(tag)) return result;
    } while (tag.code == 999);
    if (!tag.is(0, "SECTION") || !reader.next(tag) || !tag.is(2, "HEADER")) return result;

    while (reader.next(tag) && tag.code != 0) {
        if (tag.code != 9) continue;
        std::string* target = tag.value == "$ACADVER"       ? &result.acadVer
                              : tag.value == "$DWGCODEPAGE" ? &result.dwgCodePage
                                                            : nullptr;
        if (!target) continue;
        if (!reader.next(tag) || tag.code == 0) break;
        if (tag.code == 9) {
            reader.pushBack();  // a variable without value; the next one may still be wanted
            continue;
        }
        if (tag.storage == Storage::Text) *target = trimmed(tag.value);
    }
    return result;
}

CodePage detectCodePage(std::string_view data) {
    const HeaderInfo header = scanHeader(data);
    if (header.utf8Bom) return CodePage::Utf8;
    if (!header.acadVer.empty()) return codePageFor(header.acadVer, header.dwgCodePage);
    if (const auto cp = codePageFromName(header.dwgCodePage)) return *cp;
    const bool binary = data.starts_with(kBinaryDxfSentinel);
    return !binary && isValidUtf8(data) ? CodePage::Utf8 : CodePage::Ansi1252;
}

}  // namespace vela::db::dxf

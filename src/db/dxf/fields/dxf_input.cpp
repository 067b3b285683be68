#include "db/dxf/fields/dxf_input.h"

#include <fast_float/fast_float.h>

#include <charconv>
#include <cmath>
#include <cstdlib>

#include "db/dxf/tags/tag.h"

namespace vela::db {

namespace {

bool parseDouble(std::string_view text, double& out) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
    if (text.empty()) return false;
    if (text.front() == '+') text.remove_prefix(1);
    double v = 0;
    const auto r = fast_float::from_chars(text.data(), text.data() + text.size(), v);
    if (r.ec != std::errc() || r.ptr != text.data() + text.size() || !std::isfinite(v)) {
        const auto withComma = dxf::parseDecimalComma(text);
        if (!withComma) return false;
        v = *withComma;
    }
    out = v;
    return true;
}

bool parseInt64(std::string_view text, std::int64_t& out) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
    if (text.empty()) return false;
    if (text.front() == '+') text.remove_prefix(1);
    std::int64_t v = 0;
    const auto r = std::from_chars(text.data(), text.data() + text.size(), v);
    if (r.ec == std::errc() && r.ptr == text.data() + text.size()) {
        out = v;
        return true;
    }
    // Some writers put integers in floating form ("1.0"); take them when they are whole numbers in range (the
    // bounds are exact doubles, so the conversion below is always defined).
    double d = 0;
    if (parseDouble(text, d) && d >= -0x1p63 && d < 0x1p63 && d == std::trunc(d)) {
        out = static_cast<std::int64_t>(d);
        return true;
    }
    return false;
}

}  // namespace

void DxfInput::subclass(std::string_view name, int occurrence) {
    lastSubclass_ = std::string(name);
    inEntitySection_ = entityGroupsLater_ && name == "AcDbEntity";
    for (std::size_t i = 0; i < groups_.size(); ++i) {
        if (groups_[i].code != 100) continue;
        if (groups_[i].value == name && occurrence-- == 0) {
            groups_[i].used = true;
            sectionBegin_ = i + 1;
            // A section ends at the next marker, or at an embedded object (101), whose groups reuse the codes
            // of the section it follows (a multi-line text's column data has a 10 and an 11 of its own).
            std::size_t end = i + 1;
            while (end < groups_.size() && groups_[end].code != 100 && groups_[end].code != 101) ++end;
            sectionEnd_ = end;
            return;
        }
    }
    // No marker of this name: the whole record, of which the classes read before have taken theirs. Classes
    // are read base first, so what is left is this class's or a later one's, which has codes of its own.
    sectionBegin_ = 0, sectionEnd_ = groups_.size();
}

DxfInput::Group* DxfInput::find(int code) {
    // With no section chosen yet, the common part before the first marker is searched.
    if (sectionBegin_ == 0 && sectionEnd_ == 0) {
        std::size_t end = 0;
        while (end < groups_.size() && groups_[end].code != 100) ++end;
        sectionEnd_ = end;
    }
    for (std::size_t i = sectionBegin_; i < sectionEnd_; ++i)
        if (groups_[i].code == code && !groups_[i].used) return &groups_[i];
    if (inEntitySection_ && isEntityCode(code))
        for (std::size_t i = sectionEnd_; i < groups_.size(); ++i)
            if (groups_[i].code == code && !groups_[i].used) return &groups_[i];
    return nullptr;
}

const DxfInput::Group* DxfInput::takeAnywhere(int code) {
    for (Group& g : groups_)
        if (g.code == code && !g.used) {
            use(g);
            return &g;
        }
    return nullptr;
}

bool DxfInput::has(int code) const {
    return const_cast<DxfInput*>(this)->find(code) != nullptr;
}

void DxfInput::badValue(const Group& g, const char* expected) {
    errors_.push_back("line " + std::to_string(g.line) + ": expected " + expected + " for group code " +
                      std::to_string(g.code) + ", found '" + std::string(g.value.substr(0, 40)) + "'");
}

bool DxfInput::readString(int code, std::string& value) {
    Group* g = find(code);
    if (!g) return false;
    use(*g);
    value = g->value;
    return true;
}

bool DxfInput::readDouble(int code, double& value) {
    Group* g = find(code);
    if (!g) return false;
    use(*g);
    if (!parseDouble(g->value, value)) {
        badValue(*g, "a number");
        return false;
    }
    return true;
}

bool DxfInput::readInt64(int code, std::int64_t& value) {
    Group* g = find(code);
    if (!g) return false;
    use(*g);
    if (!parseInt64(g->value, value)) {
        badValue(*g, "an integer");
        return false;
    }
    return true;
}

bool DxfInput::readInt32(int code, std::int32_t& value) {
    std::int64_t v = value;
    if (!readInt64(code, v)) return false;
    if (v < INT32_MIN || v > INT32_MAX) {
        errors_.push_back("group code " + std::to_string(code) + ": value out of range");
        return false;
    }
    value = static_cast<std::int32_t>(v);
    return true;
}

bool DxfInput::readInt16(int code, std::int16_t& value) {
    std::int64_t v = value;
    if (!readInt64(code, v)) return false;
    // Unsigned 16-bit values written by some programs read back as their two's complement.
    if (v < INT16_MIN || v > UINT16_MAX) {
        errors_.push_back("group code " + std::to_string(code) + ": value out of range");
        return false;
    }
    value = static_cast<std::int16_t>(static_cast<std::uint16_t>(v));
    return true;
}

bool DxfInput::readBool(int code, bool& value) {
    std::int64_t v = value ? 1 : 0;
    if (!readInt64(code, v)) return false;
    value = v != 0;
    return true;
}

bool DxfInput::readHandle(int code, Handle& value) {
    Group* g = find(code);
    if (!g) return false;
    use(*g);
    std::string_view t = g->value;
    while (!t.empty() && t.front() == ' ') t.remove_prefix(1);
    while (!t.empty() && t.back() == ' ') t.remove_suffix(1);
    const auto h = Handle::fromText(t);
    if (!h) {
        badValue(*g, "a handle");
        return false;
    }
    value = *h;
    return true;
}

bool DxfInput::readPoint3d(int code, Point3d& value) {
    Point3d p = value;
    const std::size_t errors = errors_.size();
    if (!readDouble(code, p.x)) return skipCoordinates(code, errors);
    readDouble(code + 10, p.y);
    p.z = 0.0;
    readDouble(code + 20, p.z);
    value = p;
    return true;
}

bool DxfInput::readPoint2d(int code, Point2d& value) {
    Point2d p = value;
    const std::size_t errors = errors_.size();
    if (!readDouble(code, p.x)) return skipCoordinates(code, errors);
    readDouble(code + 10, p.y);
    double z = 0;
    readDouble(code + 20, z);  // some writers add a z to 2D points; it has no place to go
    value = p;
    return true;
}

bool DxfInput::skipCoordinates(int code, std::size_t errorsBefore) {
    // A point whose X is malformed keeps its default; its Y and Z go with it rather than stay behind as groups
    // of their own, which written back would read as coordinates of another point.
    if (errors_.size() == errorsBefore) return false;  // no X at all
    double ignored = 0;
    readDouble(code + 10, ignored);
    readDouble(code + 20, ignored);
    return false;
}

bool DxfInput::readVector3d(int code, Vector3d& value) {
    Point3d p(value.x, value.y, value.z);
    if (!readPoint3d(code, p)) return false;
    value = {p.x, p.y, p.z};
    return true;
}

DxfInput::List DxfInput::beginList(int itemCode, std::size_t from) {
    if (sectionBegin_ == 0 && sectionEnd_ == 0) find(itemCode);  // settles the part before any marker
    List list;
    list.itemCode = itemCode;
    list.outerBegin = sectionBegin_, list.outerEnd = sectionEnd_;
    list.next = sectionEnd_;
    for (std::size_t i = std::max(sectionBegin_, from); i < sectionEnd_; ++i)
        if (groups_[i].code == itemCode && !groups_[i].used) {
            list.next = i;
            break;
        }
    return list;
}

std::size_t DxfInput::itemsAvailable(const List& list) const {
    std::size_t n = 0;
    for (std::size_t i = list.next; i < list.outerEnd; ++i)
        n += groups_[i].code == list.itemCode && !groups_[i].used ? 1 : 0;
    return n;
}

bool DxfInput::nextItem(List& list) {
    std::size_t at = list.next;
    while (at < list.outerEnd && groups_[at].used) ++at;
    if (at >= list.outerEnd || groups_[at].code != list.itemCode) return false;
    std::size_t end = at + 1;
    while (end < list.outerEnd && (groups_[end].code != list.itemCode || groups_[end].used)) ++end;
    sectionBegin_ = at, sectionEnd_ = end;
    list.item = at;
    list.next = at + 1;  // an item that takes nothing still moves the list on
    list.outerLastTaken = lastTaken_;
    lastTaken_ = at;
    list.outerCodes = std::move(itemCodes_);
    list.outerInItem = inItem_;
    itemCodes_.clear();
    inItem_ = true;
    return true;
}

void DxfInput::endItem(List& list) {
    for (std::size_t i = list.item; i <= lastTaken_ && i < groups_.size(); ++i) {
        Group& g = groups_[i];
        if (g.used || std::find(itemCodes_.begin(), itemCodes_.end(), g.code) == itemCodes_.end()) continue;
        g.used = true;
        errors_.push_back("line " + std::to_string(g.line) + ": group code " + std::to_string(g.code) +
                          " repeats within one item; the first is used");
    }
    list.next = std::max(list.next, lastTaken_ + 1);
    sectionBegin_ = list.outerBegin, sectionEnd_ = list.outerEnd;
    lastTaken_ = std::max(lastTaken_, list.outerLastTaken);
    itemCodes_ = std::move(list.outerCodes);
    inItem_ = list.outerInItem;
}

void DxfInput::finish() {
    for (auto& step : finishers_) step();
    finishers_.clear();
}

std::vector<DxfTag> DxfInput::unusedGroups() const {
    std::vector<DxfTag> kept;
    bool anyMarker = false;
    for (const Group& g : groups_) anyMarker = anyMarker || g.code == 100;
    if (!anyMarker && !unmarked_.empty()) {
        for (std::size_t s = 0; s < unmarked_.size(); ++s) {
            kept.push_back({100, unmarked_[s].name});
            const bool last = s + 1 == unmarked_.size();
            for (const Group& g : groups_) {
                if (g.used) continue;
                bool mine = last;
                for (std::size_t t = 0; t <= s && !mine; ++t) {
                    bool listed = false;
                    for (int c : unmarked_[t].codes) listed = listed || c == g.code;
                    if (listed) mine = t == s;
                    if (listed) break;
                }
                if (!mine) continue;
                // The last section takes only what no earlier one listed.
                if (last)
                    for (std::size_t t = 0; t < s; ++t)
                        for (int c : unmarked_[t].codes) mine = mine && c != g.code;
                if (mine) kept.push_back({g.code, std::string(g.value)});
            }
        }
        return kept;
    }
    std::string currentMarker = anyMarker ? std::string() : lastSubclass_;
    bool markerWritten = currentMarker.empty();
    for (const Group& g : groups_) {
        if (g.code == 100) {
            currentMarker = std::string(g.value);
            // A marker no declaration named is kept even when nothing follows it (a rotated dimension's has
            // no groups of its own); a declared one is written again by its declaration.
            markerWritten = !g.used;
            if (!g.used) kept.push_back({100, currentMarker});
            continue;
        }
        if (g.used) continue;
        if (!markerWritten) {
            kept.push_back({100, currentMarker});
            markerWritten = true;
        }
        kept.push_back({g.code, std::string(g.value)});
    }
    return kept;
}

}  // namespace vela::db

#pragma once

#include <algorithm>
#include <forward_list>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "db/error_status.h"
#include "db/geometry/vector.h"
#include "db/handle.h"
#include "db/object_extras.h"
#include "db/object_id.h"

namespace vela::db {

class Database;

/// The groups of one object as read from a file, handed to the object's declaration to take its fields from.
///
/// Fields are looked up by group code within the current subclass section (the groups after a 100 marker up
/// to the next), so files that order groups differently still read; groups no declaration takes are kept and
/// written back in their section. Lists (vertices, knots, loops) are read item by item: each item is a part
/// of its own, from a group of the list's item code up to the next one, in which fields are looked up by code
/// the same way.
class DxfInput {
  public:
    struct Group {
        int code = 0;
        std::string_view value;
        std::size_t line = 0;
        bool used = false;
    };

    /// Values are views: of the caller's buffer, which must outlive the input, or of copies the input keeps.
    explicit DxfInput(Database* db) : db_(db) { groups_.reserve(32); }
    /// Empties the input for the next object, keeping its memory.
    void reset() {
        groups_.clear();
        storage_.clear();
        finishers_.clear();
        errors_.clear();
        sectionBegin_ = sectionEnd_ = lastTaken_ = lastUsed_ = 0;
        inItem_ = false;
        itemCodes_.clear();
        lastSubclass_.clear();
        unmarked_.clear();
        markers_ = 0;
        entityGroupsLater_ = inEntitySection_ = false;
    }
    void addGroup(int code, std::string_view value, std::size_t line) {
        noteGroup(code);
        groups_.push_back({code, value, line, false});
    }
    /// Adds a group whose value the input keeps a copy of (a value decoded from another code page).
    void addOwnedGroup(int code, std::string value, std::size_t line) {
        noteGroup(code);
        storage_.push_front(std::move(value));
        groups_.push_back({code, storage_.front(), line, false});
    }

    Database* database() const { return db_; }
    const std::vector<Group>& groups() const { return groups_; }

    /// Selects the section after the marker "100 <name>"; groups before any marker form the section "". When
    /// the file has no markers at all (older files), or not this one (some writers leave out a class's marker
    /// and write its groups in another section), every group not taken yet is in the section.
    /// `occurrence` picks among repeated markers of one name (TEXT has two "AcDbText" sections).
    ///
    /// The groups every entity has (layer, linetype, color, ...) that a writer puts after a later marker are
    /// found in the "AcDbEntity" section all the same.
    void subclass(std::string_view name, int occurrence = 0);
    /// For records of kinds we do not know: what their later sections hold may be their own groups of the same
    /// codes, so the common part is looked for only where it belongs.
    void keepLaterGroupsInPlace() { entityGroupsLater_ = false; }

    // Each reader leaves `value` unchanged when the group is absent, so members keep their defaults. A group
    // that is present but malformed is reported through error() and reading goes on.
    bool readString(int code, std::string& value);
    bool readDouble(int code, double& value);
    bool readInt16(int code, std::int16_t& value);
    bool readInt32(int code, std::int32_t& value);
    bool readInt64(int code, std::int64_t& value);
    bool readBool(int code, bool& value);
    bool readHandle(int code, Handle& value);
    /// x, y, z from code, code + 10, code + 20 (z optional, 0 when absent).
    bool readPoint3d(int code, Point3d& value);
    bool readPoint2d(int code, Point2d& value);
    bool readVector3d(int code, Vector3d& value);
    bool has(int code) const;
    /// Takes the first unused group with `code` wherever it is, regardless of sections (for groups the file
    /// structure uses, such as the paper-space flag).
    const Group* takeAnywhere(int code);

    /// A list being read (see beginList).
    struct List {
        int itemCode = 0;
        std::size_t next = 0;                      // where the next item may start
        std::size_t item = 0;                      // where the item being read starts
        std::size_t outerBegin = 0, outerEnd = 0;  // the part the list is in
        std::size_t outerLastTaken = 0;
        std::vector<int> outerCodes;  // codes taken by the item the list is in
        bool outerInItem = false;
    };
    /// Starts reading a list whose items each begin with a group of `itemCode`: the first item is the first
    /// unused such group of the current part (section or item) from the group at `from` on (a list's items
    /// follow its count). Each item runs up to the next unused group of that code or the end of the part; the
    /// next item starts right after the last group the item took, unused groups skipped, and the list ends
    /// where no item starts there.
    ///
    /// As DXF lists carry no end mark, the last item runs to the end of the part: a field missing from it is
    /// looked for among the groups after the list. Declarations keep the codes of list items apart from the
    /// codes of groups that follow the list in the same part, as the DXF formats do.
    List beginList(int itemCode, std::size_t from = 0);
    /// An upper bound for the number of items the list can still have, from the groups that are there: what a
    /// reader may reserve, whatever count a file claims.
    std::size_t itemsAvailable(const List& list) const;
    /// Enters the next item, making it the part fields are looked up in; false at the end of the list.
    bool nextItem(List& list);
    /// Leaves the item entered last, back to the part around the list. A field the item gives twice is taken
    /// once: the later group, among the item's own, is reported and dropped rather than kept, since written
    /// back after the list it would read as a field of another item.
    void endItem(List& list);

    /// Runs the steps left for the end of reading (see afterLoading).
    void finish();
    /// A step to run when the whole file is read (resolving references to objects that come later). Without a
    /// loader-wide list the step runs at finish().
    void afterLoading(std::function<void()> step) {
        if (loaderSteps_)
            loaderSteps_->push_back(std::move(step));
        else
            finishers_.push_back(std::move(step));
    }
    void setLoaderSteps(std::vector<std::function<void()>>* steps) { loaderSteps_ = steps; }

    /// The record name resolved last for each kind of table, shared by the objects of one file: consecutive
    /// entities mostly name the same layer, and a name compare is cheaper than a table lookup.
    struct NameCache {
        std::unordered_map<std::string, ObjectId> byName[5];  // exact spelling as the file writes it
    };
    NameCache* nameCache() const { return nameCache_; }
    void setNameCache(NameCache* cache) { nameCache_ = cache; }

    /// For records written without markers: the sections their leftover groups belong to. A group goes to the
    /// first section listing its code; the last section takes the rest. An empty section is still written.
    struct Section {
        std::string name;
        std::vector<int> codes;
    };
    void setUnmarkedSections(std::vector<Section> sections) { unmarked_ = std::move(sections); }

    /// Groups no declaration took, each section's preceded by its marker, for ObjectExtras::keptTags. Files
    /// without markers (R12) have their leftover groups filed under the last section the declaration named,
    /// the class's own, which is where a marked file would have had them.
    std::vector<DxfTag> unusedGroups() const;
    /// The position of the group taken last (by a read of any kind).
    std::size_t lastUsed() const { return lastUsed_; }

    /// Malformed values met so far ("line 12: expected a number for group code 40, found 'abc'").
    const std::vector<std::string>& errors() const { return errors_; }

  private:
    Group* find(int code);
    /// After a point's X group was looked for: when it was malformed (an error more than `errorsBefore`), takes
    /// the point's other coordinates too. Always false.
    bool skipCoordinates(int code, std::size_t errorsBefore);
    /// Whether a group of the common part of entities comes after the second marker, where it is looked for
    /// when the "AcDbEntity" section lacks it.
    void noteGroup(int code) {
        if (code == 100)
            ++markers_;
        else if (markers_ >= 2 && isEntityCode(code))
            entityGroupsLater_ = true;
    }
    static bool isEntityCode(int code) {
        switch (code) {
            case 6:
            case 8:
            case 48:
            case 60:
            case 62:
            case 370:
            case 420:
            case 440:
                return true;
            default:
                return false;
        }
    }
    /// Marks a group taken.
    void use(Group& g) {
        g.used = true;
        lastUsed_ = static_cast<std::size_t>(&g - groups_.data());
        lastTaken_ = std::max(lastTaken_, lastUsed_);
        if (inItem_) itemCodes_.push_back(g.code);
    }
    void badValue(const Group& g, const char* expected);

    Database* db_;
    std::vector<Group> groups_;
    std::forward_list<std::string> storage_;  // costs nothing while empty, which it nearly always is
    std::size_t sectionBegin_ = 0, sectionEnd_ = 0;
    std::size_t lastTaken_ = 0;  // the furthest group taken, for finding where a list item ends
    std::size_t lastUsed_ = 0;
    bool inItem_ = false;
    std::vector<int> itemCodes_;  // codes the item being read took itself (not those of lists in it)
    std::string lastSubclass_;
    int markers_ = 0;
    bool entityGroupsLater_ = false;
    bool inEntitySection_ = false;
    std::vector<Section> unmarked_;
    std::vector<std::function<void()>> finishers_;
    std::vector<std::function<void()>>* loaderSteps_ = nullptr;
    NameCache* nameCache_ = nullptr;
    std::vector<std::string> errors_;
};

}  // namespace vela::db

#pragma once

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
/// Fields are looked up by group code within the current subclass section (the groups after a 100 marker up to
/// the next), so files that order groups differently still read; groups no declaration takes are kept and
/// written back in their section. Repeated groups (vertices, knots, loops) are read in order with a cursor.
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
        sectionBegin_ = sectionEnd_ = cursor_ = 0;
        lastSubclass_.clear();
        unmarked_.clear();
    }
    void addGroup(int code, std::string_view value, std::size_t line) { groups_.push_back({code, value, line, false}); }
    /// Adds a group whose value the input keeps a copy of (a value decoded from another code page).
    void addOwnedGroup(int code, std::string value, std::size_t line) {
        storage_.push_front(std::move(value));
        groups_.push_back({code, storage_.front(), line, false});
    }

    Database* database() const { return db_; }
    const std::vector<Group>& groups() const { return groups_; }

    /// Selects the section after the marker "100 <name>"; groups before any marker form the section "". When the
    /// file has no markers at all (older files), every group is in one section and any name selects it.
    /// `occurrence` picks among repeated markers of one name (TEXT has two "AcDbText" sections).
    void subclass(std::string_view name, int occurrence = 0);

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

    /// Sequential access for repeated groups: positions at the first unused group with `code` in the current
    /// section (or the section's end), then hands out groups in file order.
    void seek(int code);
    /// The next group at the cursor, or null at the end of the section.
    const Group* peek() const;
    /// Takes the group at the cursor when its code is `code`.
    const Group* take(int code);
    bool takeDouble(int code, double& value);
    bool takeInt32(int code, std::int32_t& value);
    bool takeInt16(int code, std::int16_t& value);
    bool takeString(int code, std::string& value);
    bool takePoint2d(int code, Point2d& value);
    bool takePoint3d(int code, Point3d& value);

    /// A step to run after all fields are read (converting coordinates that depend on a later group).
    void afterReading(std::function<void()> step) { finishers_.push_back(std::move(step)); }
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
    /// Malformed values met so far ("line 12: expected a number for group code 40, found 'abc'").
    const std::vector<std::string>& errors() const { return errors_; }

private:
    Group* find(int code);
    void badValue(const Group& g, const char* expected);

    Database* db_;
    std::vector<Group> groups_;
    std::forward_list<std::string> storage_;  // costs nothing while empty, which it nearly always is
    std::size_t sectionBegin_ = 0, sectionEnd_ = 0;
    std::size_t cursor_ = 0;
    std::string lastSubclass_;
    std::vector<Section> unmarked_;
    std::vector<std::function<void()>> finishers_;
    std::vector<std::function<void()>>* loaderSteps_ = nullptr;
    NameCache* nameCache_ = nullptr;
    std::vector<std::string> errors_;
};

}  // namespace vela::db

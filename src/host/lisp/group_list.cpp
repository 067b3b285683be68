#include "host/lisp/group_list.h"

#include <charconv>
#include <cmath>
#include <numbers>

#include "db/database.h"
#include "db/dxf/fields/dxf_record.h"
#include "db/dxf/tags/group_code.h"
#include "db/object.h"
#include "host/lisp/interpreter.h"
#include "host/lisp/printer.h"
#include "host/text/wildcard.h"

namespace vela::host::lisp {

namespace {

// Angles are degrees in files and radians in the dialect's lists.
bool isAngle(int code) {
    return code >= 50 && code <= 58;
}

std::string realText(double v) {
    char buffer[32];
    const auto r = std::to_chars(buffer, buffer + sizeof buffer, v);
    return std::string(buffer, r.ptr);
}

Value textValue(std::string_view s) {
    return string(QString::fromUtf8(s.data(), qsizetype(s.size())));
}

/// A DXF output that builds the dialect's group list.
class GroupListOutput : public db::DxfOutput {
  public:
    /// With `only`, groups of other codes are passed over without being made into values (a filter's test
    /// needs a few groups of many entities).
    GroupListOutput(const db::Database* database, const std::vector<int>* only)
        : database_(database), only_(only) {}

    void writeString(int code, std::string_view v) override {
        if (!wanted(code)) return;
        add(code, textValue(v));
    }
    void writeBool(int code, bool v) override { writeInt32(code, v); }
    void writeInt8(int code, std::int8_t v) override { writeInt32(code, v); }
    void writeInt16(int code, std::int16_t v) override { writeInt32(code, v); }
    void writeInt32(int code, std::int32_t v) override {
        if (!wanted(code)) return;
        add(code, Value(v));
    }
    void writeInt64(int code, std::int64_t v) override {
        if (!wanted(code)) return;
        add(code, v >= INT32_MIN && v <= INT32_MAX ? Value(std::int32_t(v)) : Value(double(v)));
    }
    void writeUInt8(int code, std::uint8_t v) override { writeInt32(code, v); }
    void writeUInt16(int code, std::uint16_t v) override { writeInt32(code, v); }
    void writeUInt32(int code, std::uint32_t v) override {
        if (!wanted(code)) return;
        writeInt64(code, v);
    }
    void writeDouble(int code, double v) override {
        if (!wanted(code)) return;
        add(code, Value(isAngle(code) ? v * std::numbers::pi / 180.0 : v));
    }
    void writePoint2d(int code, const db::Point2d& p) override {
        if (!wanted(code)) return;
        addPoint(code, list({Value(p.x), Value(p.y)}));
    }
    void writePoint3d(int code, const db::Point3d& p) override {
        if (!wanted(code)) return;
        addPoint(code, pointValue(p));
    }
    void writeVector3d(int code, const db::Vector3d& v) override {
        if (!wanted(code)) return;
        addPoint(code, pointValue({v.x, v.y, v.z}));
    }
    void writeHandle(int code, db::Handle h) override {
        if (!wanted(code)) return;
        add(code, textValue(h.toText()));
    }
    void writeObjectId(int code, db::ObjectId id) override {
        if (!wanted(code)) return;
        if (!id.isNull()) add(code, Value(new Ename(id)));
    }
    void writeBinary(int code, std::span<const std::uint8_t> v) override {
        if (!wanted(code)) return;
        QByteArray bytes(reinterpret_cast<const char*>(v.data()), qsizetype(v.size()));
        add(code, string(QString::fromLatin1(bytes.toHex().toUpper())));
    }
    void writeRaw(int code, std::string_view text) override {
        using db::dxf::ValueType;
        const ValueType type = db::dxf::valueTypeOf(code);
        const int axis = db::dxf::pointAxis(code);
        if (!wanted(axis > 0 ? code - 10 * axis : code)) return;  // a point's Y and Z go with its X
        if (axis > 0 && pendingPoint_ == code - 10 * axis) {
            coordinates_.push_back(Value(number(text)));
            return;
        }
        flushPoint();
        if (axis == 0) {
            pendingPoint_ = code;
            coordinates_ = {Value(number(text))};
            return;
        }
        if (db::dxf::isInteger(type)) {
            std::int64_t v = 0;
            std::from_chars(text.data(), text.data() + text.size(), v);
            writeInt64(code, v);
        } else if (db::dxf::isFloating(type)) {
            writeDouble(code, number(text));
        } else if (type == ValueType::Handle && database_ && code != 5 && code != 105 && code < 1000) {
            const auto h = db::Handle::fromText(text);
            const db::ObjectId id = h ? database_->getObjectId(*h, true) : db::ObjectId();
            if (!id.isNull())
                add(code, Value(new Ename(id)));
            else
                add(code, textValue(text));
        } else {
            add(code, textValue(text));
        }
    }

    /// The groups before the extended data, and the extended data by application.
    Value take(const QStringList& applications) {
        flushPoint();
        if (!applications.isEmpty()) {
            ListBuilder apps;
            bool any = false;
            for (auto& [name, groups] : xdata_) {
                bool wanted = false;
                for (const QString& pattern : applications)
                    wanted = wanted || WildcardMatch(name, pattern, Qt::CaseInsensitive);
                if (!wanted) continue;
                apps.add(cons(string(name), groups.take()));
                any = true;
            }
            if (any) groups_.add(cons(Value(-3), apps.take()));
        }
        return groups_.take();
    }

  private:
    bool wanted(int code) const {
        return !only_ || code < 0 || std::binary_search(only_->begin(), only_->end(), code);
    }
    static double number(std::string_view text) {
        while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
        double v = 0;
        std::from_chars(text.data(), text.data() + text.size(), v);
        return v;
    }
    void add(int code, Value v) {
        if (code >= 1000) {
            if (code == 1001) {
                xdata_.push_back({QString::fromUtf8(print(v, false).toUtf8()), ListBuilder()});
            } else if (!xdata_.empty()) {
                xdata_.back().second.add(cons(Value(code), std::move(v)));
            }
            return;
        }
        groups_.add(cons(Value(code), std::move(v)));
    }
    void addPoint(int code, Value xyz) {
        flushPoint();
        if (code >= 1000) {
            if (!xdata_.empty()) xdata_.back().second.add(cons(Value(code), std::move(xyz)));
            return;
        }
        groups_.add(cons(Value(code), std::move(xyz)));
    }
    void flushPoint() {
        if (pendingPoint_ < 0) return;
        const int code = pendingPoint_;
        pendingPoint_ = -1;
        addPoint(code, list(std::move(coordinates_)));
        coordinates_.clear();
    }

    const db::Database* database_;
    const std::vector<int>* only_;
    ListBuilder groups_;
    std::vector<std::pair<QString, ListBuilder>> xdata_;
    int pendingPoint_ = -1;
    std::vector<Value> coordinates_;
};

[[noreturn]] void badGroup(const Value& group) {
    throw LispError(QLatin1String("bad DXF group: ") + print(group));
}

// One value as the text a file would hold for `code`.
std::string valueText(int code, const Value& v, const Value& group) {
    switch (v.kind()) {
        case Kind::Int:
            return isAngle(code) ? realText(v.integer() * 180.0 / std::numbers::pi)
                                 : std::to_string(v.integer());
        case Kind::Real:
            if (!std::isfinite(v.real())) badGroup(group);
            return realText(isAngle(code) ? v.real() * 180.0 / std::numbers::pi : v.real());
        case Kind::Str:
            return v.as<String>()->text.toStdString();
        case Kind::Ename:
            return v.as<Ename>()->id.handle().toText();
        default:
            badGroup(group);
    }
}

// A group (code . value) or (code x y [z]) into tags.
void addGroup(int code, const Value& value, const Value& group, std::vector<db::DxfTag>& out) {
    if (value.isCons()) {
        // A point: x, y and z go to code, code + 10 and code + 20.
        const std::vector<Value> xyz = elements(value);
        if (xyz.size() < 2 || xyz.size() > 3 || db::dxf::pointAxis(code) != 0) badGroup(group);
        for (std::size_t i = 0; i < xyz.size(); ++i) {
            if (!xyz[i].isNumber()) badGroup(group);
            out.push_back({code + 10 * int(i), realText(xyz[i].number())});
        }
        return;
    }
    out.push_back({code, valueText(code, value, group)});
}

}  // namespace

Value groupList(const db::DbObject& object, const QStringList& applications, const std::vector<int>* only) {
    GroupListOutput out(object.database(), only);
    out.writeObjectId(-1, object.objectId());
    db::writeDxfRecord(object, out);
    return out.take(applications);
}

GroupsFromList readGroupList(const Value& list) {
    if (!list.isCons()) badArgument("listp", list);
    GroupsFromList result;
    for (const Value* c = &list; c->isCons(); c = &c->as<Cons>()->cdr) {
        const Value& group = c->as<Cons>()->car;
        if (!group.isCons() || !group.as<Cons>()->car.isInt()) badGroup(group);
        const int code = group.as<Cons>()->car.integer();
        const Value& value = group.as<Cons>()->cdr;
        switch (code) {
            case -1:
                if (value.kind() != Kind::Ename) badGroup(group);
                result.object = value.as<Ename>()->id;
                continue;
            case 0:
                if (!value.isString()) badGroup(group);
                result.type = value.as<String>()->text.toUpper();
                continue;
            case 5:
            case 105:
            case 330:
            case 410:
                continue;  // handle, owner and layout: the drawing's to decide
            case 67:
                result.paperSpace = value.isInt() && value.integer() != 0;
                continue;
            case -3: {
                result.hasXdata = true;
                for (const Value* app = &value; app->isCons(); app = &app->as<Cons>()->cdr) {
                    const Value& entry = app->as<Cons>()->car;
                    if (!entry.isCons() || !entry.as<Cons>()->car.isString()) badGroup(entry);
                    result.xdata.push_back({1001, entry.as<Cons>()->car.as<String>()->text.toStdString()});
                    for (const Value* g = &entry.as<Cons>()->cdr; g->isCons(); g = &g->as<Cons>()->cdr) {
                        const Value& x = g->as<Cons>()->car;
                        if (!x.isCons() || !x.as<Cons>()->car.isInt()) badGroup(x);
                        const int xcode = x.as<Cons>()->car.integer();
                        if (xcode < 1000 || xcode == 1001 || xcode > db::dxf::kMaxGroupCode) badGroup(x);
                        addGroup(xcode, x.as<Cons>()->cdr, x, result.xdata);
                    }
                }
                continue;
            }
            default:
                break;
        }
        if (code < 0) continue;  // -2, -4 and the like say nothing about the record
        if (code >= 1000 || !db::dxf::isValidGroupCode(code)) badGroup(group);
        if (code == 100) result.hasMarkers = true;
        addGroup(code, value, group, result.groups);
    }
    return result;
}

Value mergeGroupLists(const Value& current, const Value& changes) {
    std::vector<Value> groups = elements(current);
    auto codeOf = [](const Value& g) {
        return g.isCons() && g.as<Cons>()->car.isInt() ? g.as<Cons>()->car.integer() : INT32_MIN;
    };
    std::vector<int> seen;  // per change: how many of its code came before it
    for (const Value& change : elements(changes)) {
        const int code = codeOf(change);
        if (code == INT32_MIN) badGroup(change);
        if (code == -1) continue;
        int nth = 0;
        for (int s : seen) nth += s == code;
        seen.push_back(code);
        int found = 0;
        bool replaced = false;
        for (Value& g : groups)
            if (codeOf(g) == code && found++ == nth) {
                g = change;
                replaced = true;
                break;
            }
        if (replaced) continue;
        // New groups go before the extended data.
        auto at = groups.end();
        if (code != -3)
            for (auto it = groups.begin(); it != groups.end(); ++it)
                if (codeOf(*it) == -3) at = it;
        groups.insert(at, change);
    }
    return list(std::move(groups));
}

}  // namespace vela::host::lisp

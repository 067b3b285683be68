#include "db/raw_object.h"

#include <charconv>

#include "db/entity_dxf.h"

namespace vela::db {

VELA_DB_DEFINE_CLASS(RawObject, "AcDbObject", "", DbObject)
VELA_DB_DEFINE_CLASS(RawEntity, "AcDbEntity", "", Entity)

const std::vector<DxfTag>& RawObject::groups() const {
    static const std::vector<DxfTag> none;
    return extras() ? extras()->keptTags : none;
}

void RawObject::setGroups(std::vector<DxfTag> groups) { editExtras().keptTags = std::move(groups); }

// Everything of an unknown object is kept: the declaration takes nothing.
template <class Io, class Self>
void RawObject::dxfFields(Io&, Self&) {}

VELA_DB_DEFINE_DXF(RawObject)

// Only the common groups are modelled; the rest is kept in the sections it came in.
template <class Io, class Self>
void RawEntity::dxfFields(Io& io, Self& self) {
    entityFields(io, self);
}

VELA_DB_DEFINE_DXF(RawEntity)

ErrorStatus RawEntity::getGeomExtents(Extents3d& extents) const {
    extents = Extents3d();
    if (!extras()) return ErrorStatus::InvalidInput;
    const auto& tags = extras()->keptTags;
    auto number = [](const std::string& s, double& v) {
        const char* b = s.data();
        while (b != s.data() + s.size() && *b == ' ') ++b;
        return std::from_chars(b, s.data() + s.size(), v).ec == std::errc();
    };
    for (std::size_t i = 0; i < tags.size(); ++i) {
        const int code = tags[i].code;
        if (code < 10 || code > 18) continue;
        Point3d p;
        if (!number(tags[i].value, p.x)) continue;
        if (i + 1 < tags.size() && tags[i + 1].code == code + 10) number(tags[i + 1].value, p.y);
        if (i + 2 < tags.size() && tags[i + 2].code == code + 20) number(tags[i + 2].value, p.z);
        extents.addPoint(p);
    }
    return extents.isValid() ? ErrorStatus::Ok : ErrorStatus::InvalidInput;
}

ErrorStatus RawEntity::transformBy(const Matrix3d&) { return ErrorStatus::CannotTransform; }

}  // namespace vela::db

#include "db/entities/modeler_geometry.h"

#include "db/entities/modeler_data.h"
#include "db/entity_dxf.h"

namespace vela::db {

VELA_DB_DEFINE_CLASS(Region, "AcDbRegion", "REGION", Entity)
VELA_DB_DEFINE_CLASS(Solid3d, "AcDb3dSolid", "3DSOLID", Entity)
VELA_DB_DEFINE_CLASS(Body, "AcDbBody", "BODY", Entity)
VELA_DB_DEFINE_CLASS(Surface, "AcDbSurface", "SURFACE", Entity)
VELA_DB_DEFINE_CLASS(ExtrudedSurface, "AcDbExtrudedSurface", "EXTRUDEDSURFACE", Surface)
VELA_DB_DEFINE_CLASS(LoftedSurface, "AcDbLoftedSurface", "LOFTEDSURFACE", Surface)
VELA_DB_DEFINE_CLASS(RevolvedSurface, "AcDbRevolvedSurface", "REVOLVEDSURFACE", Surface)
VELA_DB_DEFINE_CLASS(SweptSurface, "AcDbSweptSurface", "SWEPTSURFACE", Surface)
VELA_DB_DEFINE_CLASS(PlaneSurface, "AcDbPlaneSurface", "PLANESURFACE", Surface)

namespace {

constexpr const char* kModelerSection = "AcDbModelerGeometry";

// The kept groups of the modeller section: its data lines (1 and 3) and, in newer files, the flag and the
// identifier (290, 2) of the binary data stored elsewhere. [first, end) in the kept groups.
std::pair<std::size_t, std::size_t> modelerGroups(const std::vector<DxfTag>& kept) {
    std::size_t first = kept.size(), end = kept.size();
    bool inSection = false;
    for (std::size_t i = 0; i < kept.size(); ++i) {
        if (kept[i].code == 100) {
            if (inSection) return {first, i};
            inSection = kept[i].value == kModelerSection;
            if (inSection) first = i + 1;
        }
    }
    return inSection ? std::pair{first, end} : std::pair{kept.size(), kept.size()};
}

std::vector<DxfTag> dataGroups(const ObjectExtras* extras) {
    if (!extras) return {};
    const auto [first, end] = modelerGroups(extras->keptTags);
    std::vector<DxfTag> data;
    for (std::size_t i = first; i < end; ++i)
        if (extras->keptTags[i].code == 1 || extras->keptTags[i].code == 3)
            data.push_back(extras->keptTags[i]);
    return data;
}

}  // namespace

template <class Io, class Self>
void ModelerGeometry::modelerFields(Io& io, Self& self) {
    entityFields(io, self);
    io.subclass(kModelerSection);
    io.i16(70, self.version_);
}

template <class Io, class Self>
void Surface::surfaceFields(Io& io, Self& self) {
    modelerFields(io, self);
    io.subclass("AcDbSurface");
    io.i16(71, self.uIsolines_, std::int16_t(-1));
    io.i16(72, self.vIsolines_, std::int16_t(-1));
}

// A region and a body have the modeller section only; a solid's own section (its history) is kept.
template <class Io, class Self>
void Region::dxfFields(Io& io, Self& self) {
    modelerFields(io, self);
}
template <class Io, class Self>
void Solid3d::dxfFields(Io& io, Self& self) {
    modelerFields(io, self);
}
template <class Io, class Self>
void Body::dxfFields(Io& io, Self& self) {
    modelerFields(io, self);
}
template <class Io, class Self>
void Surface::dxfFields(Io& io, Self& self) {
    surfaceFields(io, self);
}
// The operation's section of each kind of surface is kept.
template <class Io, class Self>
void ExtrudedSurface::dxfFields(Io& io, Self& self) {
    surfaceFields(io, self);
}
template <class Io, class Self>
void LoftedSurface::dxfFields(Io& io, Self& self) {
    surfaceFields(io, self);
}
template <class Io, class Self>
void RevolvedSurface::dxfFields(Io& io, Self& self) {
    surfaceFields(io, self);
}
template <class Io, class Self>
void SweptSurface::dxfFields(Io& io, Self& self) {
    surfaceFields(io, self);
}
template <class Io, class Self>
void PlaneSurface::dxfFields(Io& io, Self& self) {
    surfaceFields(io, self);
}

VELA_DB_DEFINE_DXF(Region)
VELA_DB_DEFINE_DXF(Solid3d)
VELA_DB_DEFINE_DXF(Body)
VELA_DB_DEFINE_DXF(Surface)
VELA_DB_DEFINE_DXF(ExtrudedSurface)
VELA_DB_DEFINE_DXF(LoftedSurface)
VELA_DB_DEFINE_DXF(RevolvedSurface)
VELA_DB_DEFINE_DXF(SweptSurface)
VELA_DB_DEFINE_DXF(PlaneSurface)

bool ModelerGeometry::hasTextData() const {
    return !dataGroups(extras()).empty();
}

std::vector<std::string> ModelerGeometry::textData() const {
    return sat::lines(dataGroups(extras()));
}

std::optional<Matrix3d> ModelerGeometry::bodyTransform() const {
    const std::vector<DxfTag> data = dataGroups(extras());
    if (data.empty()) return std::nullopt;
    const auto placement = sat::bodyPlacement(data);
    if (!placement) return std::nullopt;
    return placement->matrix();
}

ErrorStatus ModelerGeometry::getGeomExtents(Extents3d& extents) const {
    extents = Extents3d();
    return ErrorStatus::InvalidInput;
}

ErrorStatus ModelerGeometry::transformBy(const Matrix3d& m) {
    // Binary data lives elsewhere in the file and cannot carry a placement from here.
    if (hasOwnGeometry() || !extras()) return ErrorStatus::CannotTransform;
    const auto [first, end] = modelerGroups(extras()->keptTags);
    std::vector<DxfTag> data;
    std::vector<std::size_t> where;
    for (std::size_t i = first; i < end; ++i)
        if (extras()->keptTags[i].code == 1 || extras()->keptTags[i].code == 3) {
            data.push_back(extras()->keptTags[i]);
            where.push_back(i);
        }
    if (data.empty() || where.back() - where.front() + 1 != where.size()) return ErrorStatus::CannotTransform;
    if (ErrorStatus es = sat::composeTransform(data, m); es != ErrorStatus::Ok) return es;
    assertWriteEnabled();
    std::vector<DxfTag>& kept = editExtras().keptTags;
    const auto from = kept.begin() + static_cast<std::ptrdiff_t>(where.front());
    kept.insert(kept.erase(from, from + static_cast<std::ptrdiff_t>(where.size())), data.begin(), data.end());
    return ErrorStatus::Ok;
}

}  // namespace vela::db

#include "db/dxf/file/unmarked_sections.h"

#include "db/dxf/fields/dxf_input.h"

namespace vela::db {

namespace {

using Codes = std::vector<int>;

const Codes kTextCodes = {1, 7, 10, 20, 30, 11, 21, 31, 39, 40, 41, 50, 51, 71, 72};
const Codes kDimensionCodes = {1,  2,  3,  10, 20, 30, 11, 21, 31,  12,  22, 32,
                               41, 42, 51, 52, 53, 70, 71, 72, 210, 220, 230};

std::int64_t flags(const DxfInput& in) {
    for (const DxfInput::Group& g : in.groups())
        if (g.code == 70) {
            std::int64_t v = 0;
            for (char c : g.value)
                if (c >= '0' && c <= '9') v = v * 10 + (c - '0');
            return v;
        }
    return 0;
}

}  // namespace

void assignUnmarkedSections(DxfInput& in, std::string_view type) {
    for (const DxfInput::Group& g : in.groups())
        if (g.code == 100) return;
    std::vector<DxfInput::Section> sections;
    auto add = [&](const char* name, Codes codes = {}) { sections.push_back({name, std::move(codes)}); };
    if (type == "ATTRIB") {
        add("AcDbText", kTextCodes), add("AcDbAttribute");
    } else if (type == "ATTDEF") {
        add("AcDbText", kTextCodes), add("AcDbAttributeDefinition");
    } else if (type == "DIMENSION") {
        add("AcDbDimension", kDimensionCodes);
        switch (flags(in) & 7) {
            case 0: add("AcDbAlignedDimension", {13, 23, 33, 14, 24, 34}), add("AcDbRotatedDimension"); break;
            case 1: add("AcDbAlignedDimension"); break;
            case 2: add("AcDb2LineAngularDimension"); break;
            case 3: add("AcDbDiametricDimension"); break;
            case 4: add("AcDbRadialDimension"); break;
            case 5: add("AcDb3PointAngularDimension"); break;
            default: add("AcDbOrdinateDimension"); break;
        }
    } else if (type == "POLYLINE") {
        const std::int64_t f = flags(in);
        add(f & 8 ? "AcDb3dPolyline" : f & 16 ? "AcDbPolygonMesh" : f & 64 ? "AcDbPolyFaceMesh" : "AcDb2dPolyline");
    } else if (type == "VERTEX") {
        const std::int64_t f = flags(in);
        add("AcDbVertex", {-1});
        add(f & 32    ? "AcDb3dPolylineVertex"
            : (f & 64) && (f & 128) ? "AcDbPolyFaceMeshVertex"
            : f & 128 ? "AcDbFaceRecord"
            : f & 64  ? "AcDbPolygonMeshVertex"
                      : "AcDb2dVertex");
    } else if (type == "3DFACE") {
        add("AcDbFace");
    } else if (type == "SOLID" || type == "TRACE") {
        add("AcDbTrace");
    } else if (type == "SHAPE") {
        add("AcDbShape");
    } else if (type == "VIEWPORT") {
        add("AcDbViewport");
    } else if (type == "3DLINE") {
        add("AcDbLine");
    }
    if (!sections.empty()) in.setUnmarkedSections(std::move(sections));
}

}  // namespace vela::db

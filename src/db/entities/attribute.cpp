#include "db/entities/attribute.h"

#include "db/entities/text_dxf.h"

namespace vela::db {

VELA_DB_DEFINE_CLASS(Attribute, "AcDbAttribute", "ATTRIB", Text)
VELA_DB_DEFINE_CLASS(AttributeDefinition, "AcDbAttributeDefinition", "ATTDEF", Text)

// Both follow the text's first section with their own, which also holds the vertical alignment (74).
template <class Io, class Self>
void Attribute::dxfFields(Io& io, Self& self) {
    textFields(io, self);
    io.subclass("AcDbAttribute");
    io.str(2, self.tag_);
    io.i16(70, self.flags_);
    verticalModeField(io, self, 74);
}

template <class Io, class Self>
void AttributeDefinition::dxfFields(Io& io, Self& self) {
    textFields(io, self);
    io.subclass("AcDbAttributeDefinition");
    io.str(3, self.prompt_);
    io.str(2, self.tag_);
    io.i16(70, self.flags_);
    verticalModeField(io, self, 74);
}

VELA_DB_DEFINE_DXF(Attribute)
VELA_DB_DEFINE_DXF(AttributeDefinition)

}  // namespace vela::db

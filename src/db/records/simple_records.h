#pragma once

#include "db/symbol_table.h"

namespace vela::db {

// Records whose contents the product does not interpret. Their data beyond the name and flags travels as kept
// DXF groups (ObjectExtras::keptTags) so that a drawing read and saved keeps every setting.

#define VELA_DB_DECLARE_SIMPLE_RECORD(ClassName)                               \
    class ClassName : public SymbolTableRecord {                               \
        VELA_DB_DECLARE_CLASS(ClassName)                                       \
    public:                                                                    \
        ClassName() = default;                                                 \
        explicit ClassName(std::string_view name) { name_ = std::string(name); } \
    };

VELA_DB_DECLARE_SIMPLE_RECORD(DimStyleTableRecord)
VELA_DB_DECLARE_SIMPLE_RECORD(ViewportTableRecord)
VELA_DB_DECLARE_SIMPLE_RECORD(ViewTableRecord)
VELA_DB_DECLARE_SIMPLE_RECORD(UcsTableRecord)
VELA_DB_DECLARE_SIMPLE_RECORD(RegAppTableRecord)

#undef VELA_DB_DECLARE_SIMPLE_RECORD

}  // namespace vela::db

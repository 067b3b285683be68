// Feeds arbitrary bytes to the DXF reader. Besides "no crash, no hang, no sanitizer report" it checks what
// users rely on and traps when it breaks:
//  - a file is either loaded or refused with an error that names a line or an offset, never both or neither;
//  - a loaded drawing can be saved, the saved text reads back, and saving that gives the same text;
//  - every entity of a loaded drawing answers for its extents without looping.
#include <cstdint>
#include <string>
#include <string_view>

#include "db/dxf/file/dxf_reader.h"
#include "db/dxf/file/dxf_writer.h"
#include "db/records/block_table_record.h"

namespace {

void check(bool ok) {
    if (!ok) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vela::db;
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    DxfReadResult r = readDxf(input);
    check(static_cast<bool>(r.database) != r.error.has_value());
    if (!r.database) {
        const std::string text = r.error->text();
        check(text.starts_with("line ") || text.starts_with("offset "));
        return 0;
    }
    r.database->blockTable()->forEachRecord([](SymbolTableRecord* rec) {
        static_cast<BlockTableRecord*>(rec)->forEachEntity([](Entity* e) {
            Extents3d box;
            (void)e->getGeomExtents(box);
        });
    });
    const std::string saved = writeDxf(*r.database);
    DxfReadResult again = readDxf(saved);
    check(static_cast<bool>(again.database));
    check(writeDxf(*again.database) == saved);
    return 0;
}

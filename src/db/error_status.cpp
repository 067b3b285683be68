#include "db/error_status.h"

namespace vela::db {

const char* errorText(ErrorStatus status) {
    switch (status) {
        case ErrorStatus::Ok: return "OK";
        case ErrorStatus::NullObjectId: return "Null object id";
        case ErrorStatus::KeyNotFound: return "Key not found";
        case ErrorStatus::WasErased: return "Object was erased";
        case ErrorStatus::NotThatKindOfClass: return "Object is not of the expected class";
        case ErrorStatus::OnLockedLayer: return "Object is on a locked layer";
        case ErrorStatus::NotOpenForWrite: return "Object is not open for write";
        case ErrorStatus::AlreadyInDb: return "Object is already in a database";
        case ErrorStatus::NotInDatabase: return "Object is not in a database";
        case ErrorStatus::DuplicateRecordName: return "Duplicate record name";
        case ErrorStatus::InvalidInput: return "Invalid input";
        case ErrorStatus::CannotScaleNonUniformly: return "Cannot scale non-uniformly";
        case ErrorStatus::CannotTransform: return "Cannot apply this transformation";
        case ErrorStatus::InvalidSymbolTableName: return "Invalid symbol table name";
        case ErrorStatus::CannotEraseRecord: return "This record cannot be erased";
        case ErrorStatus::NoUndoGroup: return "No undo group is open";
        case ErrorStatus::NothingToUndo: return "Nothing to undo";
        case ErrorStatus::FileNotFound: return "File not found";
        case ErrorStatus::FileReadError: return "File read error";
        case ErrorStatus::FileWriteError: return "File write error";
        case ErrorStatus::InvalidFileFormat: return "Invalid file format";
        case ErrorStatus::SelfReference: return "Block would reference itself";
    }
    return "Unknown error";
}

}  // namespace vela::db

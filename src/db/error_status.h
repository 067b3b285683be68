#pragma once

#include <stdexcept>
#include <string>

namespace vela::db {

/// Result of a database operation. Operations that can fail return one of these instead of throwing; the few
/// that cannot report a value (setters on an object not open for write) throw DbError.
enum class ErrorStatus {
    Ok = 0,
    NullObjectId,
    KeyNotFound,
    WasErased,
    NotThatKindOfClass,
    OnLockedLayer,
    NotOpenForWrite,
    AlreadyInDb,
    NotInDatabase,
    DuplicateRecordName,
    InvalidInput,
    CannotScaleNonUniformly,
    CannotTransform,
    InvalidSymbolTableName,
    CannotEraseRecord,
    NoUndoGroup,
    NothingToUndo,
    FileNotFound,
    FileReadError,
    FileWriteError,
    InvalidFileFormat,
    SelfReference,
};

/// A short English description ("Object is on a locked layer").
const char* errorText(ErrorStatus status);

class DbError : public std::runtime_error {
public:
    explicit DbError(ErrorStatus status) : std::runtime_error(errorText(status)), status_(status) {}
    DbError(ErrorStatus status, const std::string& detail)
        : std::runtime_error(std::string(errorText(status)) + ": " + detail), status_(status) {}
    ErrorStatus status() const { return status_; }

private:
    ErrorStatus status_;
};

}  // namespace vela::db

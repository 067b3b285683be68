#include "host/document.h"

#include <QFileInfo>

#include "db/records/block_table_record.h"
#include "db/spatial_index.h"
#include "host/lisp/interpreter.h"

namespace vela::host {

Document::Document(std::unique_ptr<db::Database> database, QString path)
    : database_(std::move(database)), path_(std::move(path)) {}

Document::~Document() = default;

lisp::Interpreter& Document::lisp() {
    if (!lisp_) lisp_ = std::make_unique<lisp::Interpreter>(this);
    return *lisp_;
}

const db::SpatialIndex& Document::spatialIndex() {
    if (!index_) index_ = std::make_unique<db::SpatialIndex>(*database_);
    return *index_;
}

db::ObjectId Document::activeSpaceId() const {
    return activeSpace_.isValid() ? activeSpace_ : database_->modelSpaceId();
}

bool Document::setActiveSpace(db::ObjectId space) {
    auto* btr = db::objectCast<db::BlockTableRecord>(space.peek());
    if (!btr || btr->database() != database_.get() || !btr->isLayout() || btr->isErased()) return false;
    activeSpace_ = space;
    return true;
}

QString Document::title() const { return path_.isEmpty() ? QStringLiteral("Drawing") : QFileInfo(path_).fileName(); }

}  // namespace vela::host

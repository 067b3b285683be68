#pragma once

#include <QString>
#include <memory>
#include <vector>

#include "db/database.h"
#include "host/selection_set.h"
#include "host/view.h"

namespace vela::db {
class SpatialIndex;
}

namespace vela::host {

namespace lisp {
class Interpreter;
}

/// An open drawing: its database, the file it came from, what is selected and what is in view. Undo lives in
/// the database.
class Document {
public:
    Document(std::unique_ptr<db::Database> database, QString path);
    ~Document();
    Document(const Document&) = delete;
    Document& operator=(const Document&) = delete;

    db::Database* database() const { return database_.get(); }
    /// The file the drawing was read from or last saved to; empty for a new drawing.
    const QString& path() const { return path_; }
    void setPath(const QString& path) { path_ = path; }
    /// A short name for messages: the file name, or "Drawing" for a new one.
    QString title() const;
    SelectionSet& selection() { return selection_; }
    const SelectionSet& selection() const { return selection_; }
    /// The space the user works in: model space unless a paper-space layout was made current.
    db::ObjectId activeSpaceId() const;
    /// Makes a layout's space current; false for an id that is not a layout's block of this drawing.
    bool setActiveSpace(db::ObjectId space);
    View& view() { return view_; }
    const View& view() const { return view_; }

    /// The last point the user gave (LASTPOINT): what "@" on the command line is relative to.
    db::Point3d& lastPoint() { return lastPoint_; }
    /// The objects the last object selection of a command chose: "P" (previous) at the next one.
    std::vector<db::ObjectId>& previousSelection() { return previousSelection_; }
    /// Undo counts marked with UNDO Mark, newest last, for UNDO Back.
    std::vector<std::size_t>& undoMarks() { return undoMarks_; }
    /// The document's LISP: the globals its programs set stay for the next evaluation in this drawing.
    lisp::Interpreter& lisp();
    /// Where the drawing's entities lie, for searches near a point (a hatch boundary, a pick): built when
    /// first asked for and kept up to date with the drawing from then on.
    const db::SpatialIndex& spatialIndex();

  private:
    std::unique_ptr<db::Database> database_;
    QString path_;
    SelectionSet selection_;
    View view_;
    db::Point3d lastPoint_;
    std::vector<db::ObjectId> previousSelection_;
    std::vector<std::size_t> undoMarks_;
    db::ObjectId activeSpace_;
    std::unique_ptr<lisp::Interpreter> lisp_;  // made when first used
    std::unique_ptr<db::SpatialIndex> index_;  // made when first used; goes before the database
};

}  // namespace vela::host

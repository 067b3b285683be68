#pragma once

#include <QString>
#include <memory>
#include <vector>

#include "db/dxf/file/dxf_reader.h"
#include "host/document.h"

namespace vela::host {

class Document;

/// Hears when documents come and go.
class DocumentManagerReactor {
public:
    virtual ~DocumentManagerReactor() = default;
    /// A document (with its database) has become available.
    virtual void documentCreated(Document*) {}
    /// A document is about to go away; its database is still there.
    virtual void documentToBeDestroyed(Document*) {}
    /// Another document (or none) has become the active one.
    virtual void documentActivated(Document*) {}
};

/// The open documents, one of them active (or none).
class DocumentManager {
public:
    DocumentManager() = default;
    ~DocumentManager();
    DocumentManager(const DocumentManager&) = delete;
    DocumentManager& operator=(const DocumentManager&) = delete;

    /// Opens a DXF drawing and makes it active. On failure returns null and says why in `error`.
    Document* open(const QString& path, QString* error = nullptr, const db::LoadProgress& progress = {});
    /// A new empty drawing, made active.
    Document* createNew();
    /// Adopts a database (from a reader or a generator) as a new active document.
    Document* adopt(std::unique_ptr<db::Database> database, const QString& path);
    /// Closes a document; the next one (if any) becomes active.
    void close(Document* document);
    void closeAll();

    Document* activeDocument() const { return active_; }
    void setActiveDocument(Document* document);
    int count() const { return static_cast<int>(documents_.size()); }
    Document* at(int index) const;
    /// The document whose database this is, or null.
    Document* documentOf(const db::Database* database) const;

    void addReactor(DocumentManagerReactor* reactor);
    void removeReactor(DocumentManagerReactor* reactor);

private:
    std::vector<std::unique_ptr<Document>> documents_;
    Document* active_ = nullptr;
    std::vector<DocumentManagerReactor*> reactors_;
};

}  // namespace vela::host

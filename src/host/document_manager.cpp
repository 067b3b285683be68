#include "host/document_manager.h"

#include <algorithm>

namespace vela::host {

DocumentManager::~DocumentManager() { closeAll(); }

Document* DocumentManager::open(const QString& path, QString* error, const db::LoadProgress& progress) {
    db::DxfReadResult read = db::readDxfFile(path.toStdString(), progress);
    if (!read.database) {
        if (error) *error = QString::fromStdString(read.error->text());
        return nullptr;
    }
    return adopt(std::move(read.database), path);
}

Document* DocumentManager::createNew() { return adopt(std::make_unique<db::Database>(), QString()); }

Document* DocumentManager::adopt(std::unique_ptr<db::Database> database, const QString& path) {
    documents_.push_back(std::make_unique<Document>(std::move(database), path));
    Document* doc = documents_.back().get();
    for (DocumentManagerReactor* r : std::vector<DocumentManagerReactor*>(reactors_)) r->documentCreated(doc);
    setActiveDocument(doc);
    return doc;
}

void DocumentManager::close(Document* document) {
    auto it = std::find_if(documents_.begin(), documents_.end(), [&](const auto& d) { return d.get() == document; });
    if (it == documents_.end()) return;
    for (DocumentManagerReactor* r : std::vector<DocumentManagerReactor*>(reactors_)) r->documentToBeDestroyed(document);
    std::unique_ptr<Document> gone = std::move(*it);
    documents_.erase(it);
    if (active_ == document) setActiveDocument(documents_.empty() ? nullptr : documents_.back().get());
}

void DocumentManager::closeAll() {
    while (!documents_.empty()) close(documents_.back().get());
}

void DocumentManager::setActiveDocument(Document* document) {
    if (active_ == document) return;
    active_ = document;
    for (DocumentManagerReactor* r : std::vector<DocumentManagerReactor*>(reactors_)) r->documentActivated(document);
}

Document* DocumentManager::at(int index) const {
    return index >= 0 && index < count() ? documents_[static_cast<std::size_t>(index)].get() : nullptr;
}

Document* DocumentManager::documentOf(const db::Database* database) const {
    for (const auto& d : documents_)
        if (d->database() == database) return d.get();
    return nullptr;
}

void DocumentManager::addReactor(DocumentManagerReactor* reactor) {
    if (reactor && std::find(reactors_.begin(), reactors_.end(), reactor) == reactors_.end())
        reactors_.push_back(reactor);
}

void DocumentManager::removeReactor(DocumentManagerReactor* reactor) {
    reactors_.erase(std::remove(reactors_.begin(), reactors_.end(), reactor), reactors_.end());
}

}  // namespace vela::host

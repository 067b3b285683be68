#include "session.h"

#include "db/dxf/file/dxf_writer.h"
#include "db/records/block_table_record.h"
#include "drawing_loader.h"

namespace vela::cli {

Session::Session(host::MessageSink* sink)
    : host_(std::make_unique<host::Host>()), bridge_(std::make_unique<bridge::CJxVelaAssistantCommunication>()) {
    host_->services().setMessageSink(sink);
}

Session::~Session() {
    bridge_.reset();
    host_.reset();
}

bool Session::loadModule(QString* error) { return host_->modules().load(QString::fromLatin1(kModuleName), error); }

bool Session::open(const QString& path, QString* error, const db::LoadProgress& progress) {
    std::string why;
    std::unique_ptr<db::Database> db = loadDrawing(path.toStdString(), &why, false, progress);
    if (!db) {
        if (error) *error = QStringLiteral("cannot read %1: %2").arg(path, QString::fromStdString(why));
        return false;
    }
    host::Document* doc = host_->documents().adopt(std::move(db), path);
    db::Extents3d extents;
    if (auto* ms = db::objectCast<db::BlockTableRecord>(doc->database()->modelSpaceId().peek()))
        ms->forEachEntity([&](db::Entity* e) {
            db::Extents3d box;
            if (e->getGeomExtents(box) == db::ErrorStatus::Ok) extents.addExtents(box);
        });
    doc->view().zoomToExtents(extents);
    return true;
}

void Session::createNew() { host_->documents().createNew(); }

bool Session::closeActive() {
    host::Document* doc = activeDocument();
    if (!doc) return false;
    host_->documents().close(doc);
    return true;
}

bool Session::save(const QString& path, QString* error) {
    host::Document* doc = activeDocument();
    if (!doc) {
        if (error) *error = QStringLiteral("no drawing is open");
        return false;
    }
    const db::SaveResult saved = db::saveDxfFile(*doc->database(), path.toStdString());
    if (!saved.ok) {
        if (error) *error = QString::fromStdString(saved.error);
        return false;
    }
    doc->setPath(path);
    return true;
}

}  // namespace vela::cli

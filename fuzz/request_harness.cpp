#include "request_harness.h"

#include <QJsonDocument>
#include <QJsonParseError>
#include <QMetaObject>

#include "bridge/command_catalogue.h"
#include "bridge/velaassistant_communication.h"
#include "catalogue/command_row.h"
#include "db/database.h"
#include "db/dxf/file/dxf_reader.h"
#include "db/dxf/file/dxf_writer.h"
#include "db/undo_manager.h"
#include "host/host.h"
#include "saved_drawing.h"

namespace vela::fuzz {

RequestHarness::RequestHarness(const std::string& drawing)
    : host_(std::make_unique<host::Host>()), bridge_(std::make_unique<bridge::CJxVelaAssistantCommunication>()) {
    host_->capabilities().registerCapability(bridge::kSelectEntitiesCapability);
    QString why;
    if (!host_->modules().load(QStringLiteral("VelaAssist"), &why)) {
        error_ = "cannot load the module: " + why.toStdString();
        return;
    }
    db::DxfReadResult read = db::readDxfFile(drawing);
    if (!read.database) {
        error_ = "cannot read " + drawing + ": " + read.error->text();
        return;
    }
    document_ = host_->documents().adopt(std::move(read.database), QString::fromStdString(drawing));
    original_ = withoutHandseed(db::writeDxf(*document_->database()));
    // Every slot, also those whose command is not built yet (they must answer too): an input keeps choosing
    // the same slot as commands are added.
    for (const catalogue::CommandRow* row : bridge::Catalogue()) slots_.emplace_back(row->slot);
    if (slots_.empty()) error_ = "the catalogue is empty";
}

RequestHarness::~RequestHarness() {
    bridge_.reset();
    if (host_) host_->modules().unloadAll();
}

std::string RequestHarness::checkSaved(const std::string& saved) const {
    return checkSavedDrawing(saved);
}

std::string RequestHarness::run(std::string_view input) {
    if (!ready() || input.empty()) return error_;
    const std::string& slot = slots_[static_cast<unsigned char>(input.front()) % slots_.size()];
    const QString request = QString::fromUtf8(input.data() + 1, static_cast<qsizetype>(input.size() - 1));
    db::Database& db = *document_->database();
    db::UndoManager& undo = db.undoManager();
    const std::size_t stepsBefore = undo.undoCount();
    // Each input starts from nothing selected, so that a finding does not depend on the inputs before it.
    document_->selection().clear();

    QString answer;
    if (!QMetaObject::invokeMethod(bridge_.get(), slot.c_str(), Qt::DirectConnection, Q_RETURN_ARG(QString, answer),
                                   Q_ARG(QString, request)))
        return "the slot " + slot + " cannot be called";
    QJsonParseError parsed;
    const QJsonDocument answerDocument = QJsonDocument::fromJson(answer.toUtf8(), &parsed);
    if (parsed.error != QJsonParseError::NoError || !answerDocument.isObject())
        return slot + " answers what is no JSON object: " + answer.left(200).toStdString();
    // Every answer is the text Qt writes for its object: one form, whether it was built as objects or as text.
    if (const QByteArray canonical = answerDocument.toJson(QJsonDocument::Compact); canonical != answer.toUtf8())
        return slot + " answers a text other than Qt's for the same object: " + answer.left(200).toStdString() +
               " / " + canonical.left(200).toStdString();
    if (undo.isGroupOpen()) return slot + " leaves an undo step open";

    const std::string after = db::writeDxf(db);
    if (std::string why = checkSaved(after); !why.empty()) return slot + ": " + why;
    const std::size_t steps = undo.undoCount() - std::min(undo.undoCount(), stepsBefore);
    if (steps == 0) {
        if (const std::string unchanged = withoutHandseed(after); unchanged != original_)
            return slot + " changes the drawing without an undo step, at " + firstDifference(original_, unchanged);
        return {};
    }
    if (steps > 1) return slot + " takes " + std::to_string(steps) + " undo steps";
    if (undo.undo(1) != 1) return "the undo of " + slot + " is refused";
    if (const std::string undone = withoutHandseed(db::writeDxf(db)); undone != original_)
        return "the undo of " + slot + " does not give back the drawing as it was, at " +
               firstDifference(original_, undone);
    if (undo.redo(1) != 1) return "the redo of " + slot + " is refused";
    if (const std::string redone = db::writeDxf(db); redone != after)
        return "the redo of " + slot + " does not give back the drawing as it was after, at " +
               firstDifference(after, redone);
    undo.undo(1);
    return {};
}

}  // namespace vela::fuzz

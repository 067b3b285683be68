#pragma once

#include <QString>
#include <memory>

#include "bridge/velaassistant_communication.h"
#include "db/dxf/file/dxf_reader.h"
#include "host/host.h"

namespace vela::cli {

/// A running host with the assistant module loaded and a bridge object to call: what the scripted and the
/// interactive front ends share.
class Session {
public:
    /// The command-line log goes to `sink` (standard error when null).
    explicit Session(host::MessageSink* sink = nullptr);
    ~Session();

    /// Loads the assistant module; false with the reason in `error` when it cannot be loaded.
    bool loadModule(QString* error);
    /// Opens a drawing and makes it the active document.
    bool open(const QString& path, QString* error, const db::LoadProgress& progress = {});
    void createNew();
    /// Closes the active document; afterwards none may be open.
    bool closeActive();
    /// Saves the active document as DXF (atomically); the document then belongs to that file.
    bool save(const QString& path, QString* error);

    host::Host& host() { return *host_; }
    host::Document* activeDocument() const { return host_->documents().activeDocument(); }
    bridge::CJxVelaAssistantCommunication& bridge() { return *bridge_; }

    static constexpr const char* kModuleName = "VelaAssist";

private:
    std::unique_ptr<host::Host> host_;
    std::unique_ptr<bridge::CJxVelaAssistantCommunication> bridge_;
};

}  // namespace vela::cli

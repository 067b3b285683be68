#pragma once

#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

namespace vela::host {
class CommandContext;
}

namespace vela::module {

/// The assistant's operations for other modules, without the web page: each takes the parsed request and a
/// command context and returns the response the page would get.
class CJxVelaAssistantAPI {
  public:
    CJxVelaAssistantAPI() = default;
    CJxVelaAssistantAPI(const CJxVelaAssistantAPI&) = default;
    CJxVelaAssistantAPI& operator=(const CJxVelaAssistantAPI&) = default;
    virtual ~CJxVelaAssistantAPI() = default;

    // In the order other modules have always found them.
    virtual void SelectEntities(const QJsonDocument& request, host::CommandContext* context,
                                QJsonObject& response) = 0;
    virtual void GetHandlesOfSelectedEntities(host::CommandContext* context, QJsonObject& response) = 0;
    virtual bool TransformEntities(const QJsonDocument& request, host::CommandContext* context) = 0;
    virtual void ModifyEntityProperties(const QJsonDocument& request, host::CommandContext* context,
                                        QJsonObject& response) = 0;
    virtual void CreateEntities(const QJsonDocument& request, host::CommandContext* context,
                                QJsonObject& response) = 0;
    virtual void DeleteEntities(const QJsonDocument& request, host::CommandContext* context,
                                QJsonObject& response) = 0;
    virtual void CreateLayers(const QJsonDocument& request, host::CommandContext* context,
                              QJsonObject& response) = 0;
    virtual void ModifyLayers(const QJsonDocument& request, host::CommandContext* context,
                              QJsonObject& response) = 0;
    virtual void DeleteLayers(const QJsonDocument& request, host::CommandContext* context,
                              QJsonObject& response) = 0;
    virtual void CreateBlocks(const QJsonDocument& request, host::CommandContext* context,
                              QJsonObject& response) = 0;
    virtual void SummarizeLayers(host::CommandContext* context, QJsonObject& response) = 0;
    virtual void SummarizeEntities(const QJsonDocument& request, host::CommandContext* context,
                                   QJsonObject& response) = 0;
    /// Fills closed areas around the request's internal points with hatches (asking the context's user for a
    /// point where the request says so).
    virtual void CreateHatch(const QJsonDocument& request, host::CommandContext* context,
                             QJsonObject& response) = 0;
    /// Evaluates the request's "lispQuery" in the context's drawing: its printed result and what it changed.
    virtual void EvaluateLisp(const QJsonDocument& request, host::CommandContext* context,
                              QJsonObject& response) = 0;
    /// What changed in the context's drawing since the last report.
    virtual void GetChangesInfo(host::CommandContext* context, QJsonObject& response) = 0;
};

/// What the electrical add-on offers the assistant; the add-on implements and installs it.
class CJxElectricalAssistantAPI {
  public:
    CJxElectricalAssistantAPI() = default;
    CJxElectricalAssistantAPI(const CJxElectricalAssistantAPI&) = default;
    CJxElectricalAssistantAPI& operator=(const CJxElectricalAssistantAPI&) = default;
    virtual ~CJxElectricalAssistantAPI() = default;
    /// Moves the view to the object the query names; true on success.
    virtual bool GoTo(const QString& query) = 0;
    /// Selects an entity by its handle and answers as JSON.
    virtual QJsonObject SelectEntityByHandle(const QString& query) = 0;
};

/// The module's own implementation, installed in test-framework mode: the bare command bodies of the
/// catalogue, with no gate, no request registry and no logging. A null context is a context without a
/// drawing, which every body answers for.
class CJxVelaAssistantAPIImpl : public CJxVelaAssistantAPI {
  public:
    void SelectEntities(const QJsonDocument& request, host::CommandContext* context,
                        QJsonObject& response) override;
    void GetHandlesOfSelectedEntities(host::CommandContext* context, QJsonObject& response) override;
    bool TransformEntities(const QJsonDocument& request, host::CommandContext* context) override;
    void ModifyEntityProperties(const QJsonDocument& request, host::CommandContext* context,
                                QJsonObject& response) override;
    void CreateEntities(const QJsonDocument& request, host::CommandContext* context,
                        QJsonObject& response) override;
    void DeleteEntities(const QJsonDocument& request, host::CommandContext* context,
                        QJsonObject& response) override;
    void CreateLayers(const QJsonDocument& request, host::CommandContext* context,
                      QJsonObject& response) override;
    void ModifyLayers(const QJsonDocument& request, host::CommandContext* context,
                      QJsonObject& response) override;
    void DeleteLayers(const QJsonDocument& request, host::CommandContext* context,
                      QJsonObject& response) override;
    void CreateBlocks(const QJsonDocument& request, host::CommandContext* context,
                      QJsonObject& response) override;
    void SummarizeLayers(host::CommandContext* context, QJsonObject& response) override;
    void SummarizeEntities(const QJsonDocument& request, host::CommandContext* context,
                           QJsonObject& response) override;
    void CreateHatch(const QJsonDocument& request, host::CommandContext* context,
                     QJsonObject& response) override;
    void EvaluateLisp(const QJsonDocument& request, host::CommandContext* context,
                      QJsonObject& response) override;
    void GetChangesInfo(host::CommandContext* context, QJsonObject& response) override;
};

}  // namespace vela::module

// Exported: the process-wide instance pointers. Set* replaces the pointer and never deletes the previous
// instance (its owner does).
extern "C" {
vela::module::CJxVelaAssistantAPI* GetJxVelaAssistantAPI();
void SetJxVelaAssistantAPI(vela::module::CJxVelaAssistantAPI* api);
vela::module::CJxElectricalAssistantAPI* GetJxElectricalAssistantAPI();
void SetJxElectricalAssistantAPI(vela::module::CJxElectricalAssistantAPI* api);
}

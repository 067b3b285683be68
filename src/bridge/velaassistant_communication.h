#pragma once

#include <QObject>
#include <QString>

namespace vela::bridge {

/// The debug setting that switches the assistant's logging on the command line ("enabled").
inline const QString kDebugSettingKey = QStringLiteral("V3Debugging");
/// The capability every drawing slot asks for.
inline const QString kSelectEntitiesCapability = QStringLiteral("veladesk.v3.selectentities");

/// The object the assistant page talks to over the web channel. Each query slot takes one JSON text and
/// answers one compact JSON text, which it also keeps in the dynamic property "JxAnswer". The order of the
/// slots is the web channel's method order.
class CJxVelaAssistantCommunication : public QObject {
    Q_OBJECT
  public:
    explicit CJxVelaAssistantCommunication(QObject* parent = nullptr);

  public slots:
    QString HighlightUi(QString sCommandName);
    QString SelectEntities(QString sSelectionQuery);
    QString ModifyEntityProperties(QString sModificationQuery);
    QString TransformEntities(QString sTransformationQuery);
    QString CreateEntities(QString creationQuery);
    QString DeleteEntities(QString deletionQuery);
    QString CreateLayers(QString layerQuery);
    QString ModifyLayers(QString layerQuery);
    QString DeleteLayers(QString layerQuery);
    QString CreateBlocks(QString blockQuery);
    QString CreateHatch(QString hatchQuery);
    QString GetChangesInfo(QString jsonRequest);
    QString EvaluateLisp(QString lispQuery);
    QString SelectEntityByHandle(QString jsonQuery);
    QString SummarizeEntities(QString jsonRequest);
    QString GetCurrentLayersInfo(QString jsonRequest);
    QString GetHandlesOfSelectedEntities(QString jsonRequest);
    bool ElectricalGoTo(QString query);
    void newThreadStarted();
    void openUrl(QString sUrl);

  private:
    /// Answers a slot by its catalogue row.
    QString call(const char* slot, const QString& requestText);
    QString answer(const QString& text);
};

}  // namespace vela::bridge

#pragma once

#include <QByteArray>
#include <QJsonArray>
#include <QJsonObject>
#include <QString>
#include <functional>
#include <optional>

#include "mcp_server.h"
#include "picture_file.h"

namespace vela::catalogue {
struct CommandRow;
}

namespace vela::cli::mcp {

/// The tools a model calls: one for each assistant command of the catalogue whose body is built, made from
/// its row alone, and the drawing's own: open, new, save, undo, redo and a picture. A tool that changes the
/// drawing can be tried with "dryRun": it runs, answers with what it changed, and is rolled back.
class DrawingTools {
  public:
    DrawingTools(Session& session, const ServerOptions& options);

    QJsonArray list() const;
    bool has(const QString& name) const;
    /// A CallToolResult as compact JSON text. A tool's own failure is a result with isError set, never a
    /// protocol error.
    QByteArray call(const QString& name, const QJsonObject& arguments);

    /// Told how far long work (loading a drawing, drawing a picture) has come, during the next calls; none:
    /// nobody asked.
    using Progress = std::function<void(double done, double total, const QString& message)>;
    void setProgress(Progress progress) { progress_ = std::move(progress); }

    /// What the resources read: the drawing's layers and a summary of what it holds.
    QJsonObject layers();
    QJsonObject summary();

    /// The absolute path of a file under the root, for reading (it must exist) or writing (its folder must);
    /// empty, with why, when the path leads anywhere else.
    QString fileUnderRoot(const QString& path, bool forWriting, QString* why) const;

    struct Picture {
        QByteArray png;
        QJsonObject info;  // size, the world-to-pixel transform, the window shown, labels and their pixels
    };
    /// Draws a picture for a model: long edge `longEdge` unless a size is asked for, PNG of at most 5 MB.
    std::optional<Picture> picture(PictureRequest request, QString* why, int longEdge = kLongEdge);

    static constexpr int kLongEdge = 1568;
    static constexpr qsizetype kMaxPictureBytes = qsizetype(5) << 20;
    static constexpr std::size_t kMaxLabels = 150;

  private:
    QByteArray callCommand(const catalogue::CommandRow& row, QJsonObject arguments);
    QJsonObject dryRun(const catalogue::CommandRow& row, const QString& request, bool pictures);
    QByteArray commandResult(const QString& answer) const;

    // The drawing's own tools.
    QJsonObject openDrawing(const QJsonObject& arguments);
    QJsonObject newDrawing(const QJsonObject& arguments);
    QJsonObject saveDrawing(const QJsonObject& arguments);
    QJsonObject undo(const QJsonObject& arguments);
    QJsonObject redo(const QJsonObject& arguments);
    QJsonObject undoRedo(const QJsonObject& arguments, bool undo);
    QJsonObject render(const QJsonObject& arguments);

    struct OwnTool {
        const char* name;
        const char* title;
        const char* description;
        const char* inputSchema;
        bool readOnly;
        bool destructive;
        QJsonObject (DrawingTools::*run)(const QJsonObject&);
    };
    static const OwnTool kOwnTools[];
    const OwnTool* ownTool(const QString& name) const;

    Session& session_;
    const ServerOptions& options_;
    std::size_t cleanStep_ = 0;
    Progress progress_;  // the undo steps the drawing had when it was opened or last saved
};

}  // namespace vela::cli::mcp

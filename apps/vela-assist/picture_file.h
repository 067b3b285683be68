#pragma once

#include <QJsonObject>
#include <QString>
#include <optional>
#include <string>

#include "render/render.h"

namespace vela::cli {

/// "WxH" in pixels, 1 to 16384 each; nothing when the text is not one.
std::optional<QSize> parsePictureSize(const std::string& text);
/// "X1,Y1,X2,Y2" in drawing units, a window with an area; nothing when the text is not one.
std::optional<db::Extents3d> parsePictureWindow(const std::string& text);

/// A picture asked for in JSON, by the run script and the MCP server alike:
///   "size": "WxH", "window": "X1,Y1,X2,Y2", "around": [HANDLE, ...], "handles": [HANDLE, ...] | "all",
///   "dark": BOOL, "since": UNDO_STEP (what the later steps created, changed and erased, in colour).
struct PictureRequest {
    render::RenderOptions options;
    std::optional<db::UndoManager::Changes> changes;  // with "since"
};
/// Nothing (with `why`) when a key holds something it does not take.
std::optional<PictureRequest> readPictureRequest(const db::Database& db, const QJsonObject& request,
                                                 QString* why);

/// Makes the application object that text drawing needs (headless unless the user chose a platform) and loads
/// the bundled fonts; does nothing when there is one already.
void ensurePictureApplication();

/// Takes down the application object a picture made, when it leaves scope: a command that may draw opens one
/// first, so that Qt is taken down before main returns (after it, Qt's thread data is gone).
class PictureApplicationScope {
  public:
    PictureApplicationScope() = default;
    PictureApplicationScope(const PictureApplicationScope&) = delete;
    PictureApplicationScope& operator=(const PictureApplicationScope&) = delete;
    ~PictureApplicationScope();
};

/// Draws the picture and writes it to `path` in one step: PNG or SVG by the path's ending. An empty text when
/// it was written, else why not.
std::string writePicture(const db::Database& db, const render::RenderOptions& options,
                         const std::string& path);

}  // namespace vela::cli

#include "host/document.h"

#include <QFileInfo>

namespace vela::host {

Document::Document(std::unique_ptr<db::Database> database, QString path)
    : database_(std::move(database)), path_(std::move(path)) {}

QString Document::title() const { return path_.isEmpty() ? QStringLiteral("Drawing") : QFileInfo(path_).fileName(); }

}  // namespace vela::host

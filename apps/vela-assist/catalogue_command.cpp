#include <QJsonDocument>
#include <cstdio>

#include "bridge/command_catalogue.h"
#include "cli.h"

namespace vela::cli {

int catalogueCommand(const std::vector<std::string>& args) {
    if (!args.empty()) {
        std::fputs("usage: vela-assist catalogue\n", stderr);
        return 2;
    }
    const QByteArray text = QJsonDocument(bridge::CatalogueJson()).toJson(QJsonDocument::Indented);
    std::fwrite(text.constData(), 1, static_cast<std::size_t>(text.size()), stdout);
    return 0;
}

}  // namespace vela::cli

// -LAYER: the layer table from the command line.
#include <QRegularExpression>

#include "db/database.h"
#include "db/records/layer_table_record.h"
#include "host/commands/command_support.h"
#include "host/host.h"
#include "host/text/color_text.h"

namespace vela::host::commands {

namespace {

using db::LayerTableRecord;

QString nameOf(const db::SymbolTableRecord& r) {
    return QString::fromStdString(r.name());
}

/// The layers a name list means: names separated by commas, each possibly with the wildcards * and ?.
std::vector<db::ObjectId> layersNamed(db::Database& db, const QString& list) {
    std::vector<db::ObjectId> found;
    for (const QString& part : list.split(QLatin1Char(','), Qt::SkipEmptyParts)) {
        const QRegularExpression pattern(
            QRegularExpression::wildcardToRegularExpression(part.trimmed(),
                                                            QRegularExpression::UnanchoredWildcardConversion),
            QRegularExpression::CaseInsensitiveOption);
        const QRegularExpression whole(QRegularExpression::anchoredPattern(pattern.pattern()),
                                       QRegularExpression::CaseInsensitiveOption);
        db.layerTable()->forEachRecord([&](db::SymbolTableRecord* r) {
            if (whole.match(nameOf(*r)).hasMatch() &&
                std::find(found.begin(), found.end(), r->objectId()) == found.end())
                found.push_back(r->objectId());
        });
    }
    return found;
}

/// A new layer as CAD programs make one: white, continuous, default lineweight.
db::ObjectId addLayer(CommandContext& context, const QString& name) {
    db::Database& db = *context.database();
    if (!db::isValidSymbolName(name.toStdString())) {
        context.userIO().message(QStringLiteral("Invalid layer name \"%1\".").arg(name));
        return {};
    }
    auto layer = std::make_unique<LayerTableRecord>(name.toStdString());
    layer->setColor(db::Color::fromIndex(7));
    layer->setLinetypeId(db.linetypeContinuousId());
    layer->setLineWeight(db::LineWeight::ByLineWeightDefault);
    db::ObjectId id;
    if (db.addRecord(db.layerTableId(), std::move(layer), &id) != db::ErrorStatus::Ok) return {};
    return id;
}

/// Asks for a name list and changes each layer it names; reports names that match nothing.
int changeLayers(CommandContext& context, const QString& question,
                 const std::function<void(LayerTableRecord&)>& change,
                 const std::function<bool(LayerTableRecord&)>& allowed = {}) {
    UserIO& io = context.userIO();
    QString list;
    if (io.getText(Prompt(question), false, list) != RTNORM) return RTCAN;
    const std::vector<db::ObjectId> ids = layersNamed(*context.database(), list);
    if (ids.empty()) io.message(QStringLiteral("No matching layer names found."));
    for (db::ObjectId id : ids) {
        auto layer = db::openObject<LayerTableRecord>(id, db::OpenMode::ForWrite);
        if (!layer || (allowed && !allowed(*layer))) continue;
        change(*layer);
    }
    return RTNORM;
}

}  // namespace

int layerCommand(CommandContext& context) {
    if (!haveDrawing(context)) return RTERROR;
    UserIO& io = context.userIO();
    db::Database& db = *context.database();
    auto current = [&] { return db::objectCast<LayerTableRecord>(db.currentLayer().peek()); };
    io.message(QStringLiteral("Current layer:  \"%1\"").arg(nameOf(*current())));
    for (;;) {
        const int r = io.getKeyword(
            Prompt(QStringLiteral("Enter an option"))
                .withKeywords({QStringLiteral("?"), QStringLiteral("Make"), QStringLiteral("Set"),
                               QStringLiteral("New"), QStringLiteral("ON"), QStringLiteral("OFF"),
                               QStringLiteral("Color"), QStringLiteral("Freeze"), QStringLiteral("Thaw"),
                               QStringLiteral("LOck"), QStringLiteral("Unlock")})
                .orNone());
        if (r == RTCAN) return RTCAN;
        if (r == RTNONE) return RTNORM;
        const QString option = io.keyword();
        int done = RTNORM;
        if (option == QLatin1String("?")) {
            db.layerTable()->forEachRecord([&](db::SymbolTableRecord* record) {
                auto* l = static_cast<LayerTableRecord*>(record);
                io.message(QStringLiteral("%1 %2 %3 %4 color %5")
                               .arg(nameOf(*l).leftJustified(24),
                                    l->isOff() ? QStringLiteral("Off") : QStringLiteral("On "),
                                    l->isFrozen() ? QStringLiteral("Frozen") : QStringLiteral("Thawed"),
                                    l->isLocked() ? QStringLiteral("Locked  ") : QStringLiteral("Unlocked"),
                                    CommandLineColorText(l->color())));
            });
        } else if (option == QLatin1String("Make") || option == QLatin1String("Set")) {
            const bool make = option == QLatin1String("Make");
            QString name;
            if (io.getText(
                    Prompt(make ? QStringLiteral("Enter name for new layer (becomes the current layer)")
                                : QStringLiteral("Enter layer name to make current"))
                        .withDefault(nameOf(*current())),
                    false, name) != RTNORM)
                return RTCAN;
            name = name.trimmed();
            db::ObjectId id = db.layerTable()->getAt(name.toStdString());
            if (id.isNull() && make) id = addLayer(context, name);
            if (id.isNull()) {
                if (!make) io.message(QStringLiteral("Cannot find layer \"%1\".").arg(name));
                continue;
            }
            const QString error = systemVariables().set(QStringLiteral("CLAYER"),
                                                        nameOf(*db::objectCast<LayerTableRecord>(id.peek())),
                                                        context.document());
            if (!error.isEmpty()) io.message(error);
        } else if (option == QLatin1String("New")) {
            QString list;
            if (io.getText(Prompt(QStringLiteral("Enter name list for new layer(s)")), false, list) != RTNORM)
                return RTCAN;
            for (const QString& part : list.split(QLatin1Char(','), Qt::SkipEmptyParts)) {
                const QString name = part.trimmed();
                if (db.layerTable()->has(name.toStdString()))
                    io.message(QStringLiteral("Layer \"%1\" already exists.").arg(name));
                else
                    addLayer(context, name);
            }
        } else if (option == QLatin1String("ON") || option == QLatin1String("OFF")) {
            const bool off = option == QLatin1String("OFF");
            done = changeLayers(context,
                                off ? QStringLiteral("Enter name list of layer(s) to turn off")
                                    : QStringLiteral("Enter name list of layer(s) to turn on"),
                                [&](LayerTableRecord& l) { l.setIsOff(off); });
        } else if (option == QLatin1String("Freeze") || option == QLatin1String("Thaw")) {
            const bool freeze = option == QLatin1String("Freeze");
            done = changeLayers(
                context,
                freeze ? QStringLiteral("Enter name list of layer(s) to freeze")
                       : QStringLiteral("Enter name list of layer(s) to thaw"),
                [&](LayerTableRecord& l) { l.setIsFrozen(freeze); },
                [&](LayerTableRecord& l) {
                    if (!freeze || l.objectId() != db.currentLayer()) return true;
                    io.message(QStringLiteral("Cannot freeze layer \"%1\".  It is the CURRENT layer.")
                                   .arg(nameOf(l)));
                    return false;
                });
        } else if (option == QLatin1String("LOck") || option == QLatin1String("Unlock")) {
            const bool lock = option == QLatin1String("LOck");
            done = changeLayers(context,
                                lock ? QStringLiteral("Enter name list of layer(s) to lock")
                                     : QStringLiteral("Enter name list of layer(s) to unlock"),
                                [&](LayerTableRecord& l) { l.setIsLocked(lock); });
        } else {  // Color
            std::optional<db::Color> color;
            for (;;) {
                QString text;
                if (io.getText(Prompt(QStringLiteral("Enter color name or number (1-255) or r,g,b")), false,
                               text) != RTNORM)
                    return RTCAN;
                color = ReadCommandLineColor(text);
                if (color && !color->isByLayer() && !color->isByBlock()) break;
                io.message(QStringLiteral(
                    "Invalid color: a number from 1 to 255, a color name or r,g,b is expected."));
            }
            done = changeLayers(
                context,
                QStringLiteral("Enter name list of layer(s) for color %1").arg(CommandLineColorText(*color)),
                [&](LayerTableRecord& l) { l.setColor(*color); });
        }
        if (done == RTCAN) return RTCAN;
    }
}

}  // namespace vela::host::commands

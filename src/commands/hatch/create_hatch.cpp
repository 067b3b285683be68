#include <QJsonArray>
#include <QStringList>
#include <cmath>
#include <functional>
#include <optional>
#include <vector>

#include "commands/commands.h"
#include "db/database.h"
#include "db/entities/hatch.h"
#include "host/command_context.h"
#include "host/commands/command_support.h"
#include "host/document.h"
#include "host/hatch/hatch_making.h"
#include "host/result_codes.h"
#include "host/text/number_text.h"
#include "host/text/point_text.h"
#include "properties/handle_text.h"

namespace vela::commands {

namespace {

const QString kSuccess = QStringLiteral("success");
const QString kError = QStringLiteral("error");
const QString kEntities = QStringLiteral("entities");

/// The boundary search the command and its preview share: the loops around a point in the context's
/// drawing, with the host's hatch settings; false when no closed area holds the point.
using BoundaryCalculator =
    std::function<bool(host::CommandContext*, const db::Point3d&, std::vector<db::HatchLoop>&)>;

BoundaryCalculator HostBoundaryCalculator(const host::hatch::HatchSettings& settings) {
    return [settings](host::CommandContext* context, const db::Point3d& point,
                      std::vector<db::HatchLoop>& loops) {
        if (!context || !context->document()) return false;
        loops = host::hatch::BoundaryLoopsAround(*context->document(), point, settings);
        return !loops.empty();
    };
}

/// A new hatch of the pattern, its angle given in degrees, with no loops yet; null when it cannot be made.
std::unique_ptr<db::Hatch> NewHatch(const db::Database& database, const QString& pattern, double scale,
                                    double angleDegrees) {
    return host::hatch::NewPatternHatch(database, pattern.toStdString(), scale,
                                        angleDegrees * 3.141592653589793 / 180);
}

/// Follows the cursor while the user looks for an internal point: wherever the cursor is inside a closed
/// area, a hatch of the pattern fills it, so the user sees what a click there would make. The preview is a
/// real hatch of the drawing, made as the final one is (but not linked to its boundary), and is erased when
/// the cursor leaves every area and before the pick returns.
class CJxV3HatchPreviewTracker : public host::InputTracker {
  public:
    CJxV3HatchPreviewTracker(host::CommandContext* context, QString pattern, double scale, double angle,
                             BoundaryCalculator calculateBoundaries)
        : context_(context),
          pattern_(std::move(pattern)),
          scale_(scale),
          angle_(angle),
          calculateBoundaries_(std::move(calculateBoundaries)) {}
    ~CJxV3HatchPreviewTracker() override { erasePreview(); }

    void track(const db::Point3d& point) override { setValue(point); }

    /// The cursor is at `point`: the preview follows unless the point is the one handled last.
    void setValue(const db::Point3d& point) {
        if (lastPoint_ && lastPoint_->isEqualTo(point, 1e-6)) return;
        lastPoint_ = point;
        std::vector<db::HatchLoop> loops;
        if (!calculateBoundaries_(context_, point, loops)) {
            if (previewActive_) erasePreview();
            return;
        }
        if (previewActive_) erasePreview();
        previewActive_ = true;
        std::unique_ptr<db::Hatch> hatch = NewHatch(*context_->database(), pattern_, scale_, angle_);
        if (!hatch || host::hatch::AppendLoops(*hatch, std::move(loops), point) != db::ErrorStatus::Ok)
            return;
        previewId_ = host::hatch::AddHatch(*context_->database(), host::commands::activeSpace(*context_),
                                           std::move(hatch), /*linkBoundary=*/false);
        previewExists_ = !previewId_.isNull();
    }

    /// Erases the preview hatch, if there is one.
    void erasePreview() {
        if (previewExists_) host::commands::eraseEntity(previewId_);
        previewId_ = {};
        previewExists_ = previewActive_ = false;
    }
    void resetLastPoint() { lastPoint_.reset(); }

  private:
    host::CommandContext* context_;
    QString pattern_;
    double scale_, angle_;
    db::ObjectId previewId_;
    std::optional<db::Point3d> lastPoint_;  // none while no point has been handled
    bool previewExists_ = false;
    bool previewActive_ = false;
    BoundaryCalculator calculateBoundaries_;
};

/// "x,y,z", each with six significant digits, as the hatch's description gives its points.
QString PointText(const db::Point3d& p) {
    return host::SixDigitNumberText(p.x) + QLatin1Char(',') + host::SixDigitNumberText(p.y) +
           QLatin1Char(',') + host::SixDigitNumberText(p.z);
}

/// One hatch filling the areas around the points (one or more areas, each with its islands): added to the
/// active space and described, or, when any point has no closed area around it, not made at all.
QJsonObject CreateOneHatch(host::CommandContext* context, const std::vector<db::Point3d>& points,
                           const QString& pattern, double scale, double angle) {
    QJsonObject result{{kSuccess, false}};
    if (!context) {
        result.insert(kError, QStringLiteral("Invalid command context"));
        return result;
    }
    if (points.empty()) {
        result.insert(kError, QStringLiteral("No internal points provided"));
        return result;
    }
    db::Database* database = context->database();
    if (!database) {
        result.insert(kError, QStringLiteral("Invalid database"));
        return result;
    }
    std::unique_ptr<db::Hatch> hatch = NewHatch(*database, pattern, scale, angle);
    if (!hatch) {
        result.insert(kError, QStringLiteral("Failed to create hatch entity"));
        return result;
    }
    const BoundaryCalculator calculateBoundaries =
        HostBoundaryCalculator(host::hatch::HatchSettings::current());
    for (const db::Point3d& point : points) {
        std::vector<db::HatchLoop> loops;
        if (!calculateBoundaries(context, point, loops) || loops.empty() ||
            host::hatch::AppendLoops(*hatch, std::move(loops), point) != db::ErrorStatus::Ok) {
            result.insert(kError, QStringLiteral("No valid boundaries found"));
            return result;
        }
    }
    const db::ObjectId id =
        host::hatch::AddHatch(*database, host::commands::activeSpace(*context), std::move(hatch));
    if (id.isNull()) {
        result.insert(kError, QStringLiteral("Failed to add hatch to database"));
        return result;
    }
    QJsonArray texts;
    for (const db::Point3d& point : points) texts.append(PointText(point));
    const QJsonObject properties{{QStringLiteral("pattern"), pattern},
                                 {QStringLiteral("scale"), scale},
                                 {QStringLiteral("angle"), angle},
                                 {QStringLiteral("internalPoints"), texts}};
    const QJsonObject description{{QStringLiteral("handle"), properties::HandleText(id)},
                                  {QStringLiteral("className"), QStringLiteral("AcDbHatch")},
                                  {QStringLiteral("properties"), properties}};
    result.insert(kSuccess, true);
    result.insert(kEntities, QJsonArray{description});
    return result;
}

/// Asks the user for a point inside the area to hatch, previewing the hatch wherever the cursor is. A
/// cancelled pick answers the origin (and the hatch is then looked for around it).
db::Point3d PickInternalPoint(host::CommandContext& context, const QString& pattern, double scale,
                              double angle) {
    db::Point3d result;
    CJxV3HatchPreviewTracker tracker(&context, pattern, scale, angle,
                                     HostBoundaryCalculator(host::hatch::HatchSettings::current()));
    host::Prompt prompt(QStringLiteral("Specify internal point for hatch"));
    prompt.tracker = &tracker;
    db::Point3d picked;
    const int status = context.userIO().getPoint(prompt, picked);
    if (status == host::RTNORM) {
        result = picked;
        tracker.setValue(picked);
    } else {
        tracker.erasePreview();
        tracker.resetLastPoint();
    }
    if (status != host::RTNORM && status != host::RTCAN) throw db::DbError(db::ErrorStatus::InvalidInput);
    tracker.erasePreview();
    return result;
}

/// The internal points of one request element: each text "x,y" or "x,y,z" whose x and y read as numbers
/// (a z that does not read counts as 0); other texts and non-texts are skipped.
std::vector<db::Point3d> RequestedPoints(const QJsonValue& texts) {
    std::vector<db::Point3d> points;
    for (const QJsonValue& value : texts.toArray()) {
        if (!value.isString()) continue;
        const host::PointText text = host::ReadPointText(value.toString());
        if (text.parts < 2 || !text.x || !text.y) continue;
        points.emplace_back(*text.x, *text.y, text.parts >= 3 ? text.z.value_or(0) : 0);
    }
    return points;
}

// Fills closed areas with hatch patterns, one hatch per object of "entities", each found around its internal
// points or around a point the user picks (a cancelled pick gives the origin, and the hatch is looked for
// there: what the page has always got). A hatch that fails is reported as "Hatch #n: why" (n its place in
// the array) and the others go on; hatches made stay even when a later one fails.
QJsonObject CreateHatches(const QJsonDocument& request, host::CommandContext& context) {
    QJsonObject response{{kSuccess, false}};
    if (!context.document()) {  // a context without a drawing is no context to hatch in
        response.insert(kError, QStringLiteral("Invalid command context"));
        return response;
    }
    const QJsonValue entities = request.object().value(kEntities);
    if (!entities.isArray()) {
        response.insert(kError, QStringLiteral("Missing or invalid 'entities' array in input"));
        return response;
    }
    try {
        QJsonArray created;
        QStringList errors;
        const QJsonArray elements = entities.toArray();
        for (qsizetype i = 0; i < elements.size(); ++i) {
            if (!elements[i].isObject()) continue;
            const QJsonObject element = elements[i].toObject();
            const QJsonValue patternValue = element.value(QStringLiteral("pattern"));
            const QString pattern =
                patternValue.isUndefined() ? QStringLiteral("ANSI31") : patternValue.toString();
            const QJsonValue scaleValue = element.value(QStringLiteral("scale"));
            const double scale = scaleValue.isUndefined() ? 1.0 : scaleValue.toDouble(0);
            const double angle = element.value(QStringLiteral("angle")).toDouble(0);
            const QJsonValue needsValue = element.value(QStringLiteral("needsInternalPoint"));
            const bool needsInternalPoint = needsValue.isUndefined() || needsValue.toBool(false);

            std::vector<db::Point3d> points;
            if (needsInternalPoint)
                points.push_back(PickInternalPoint(context, pattern, scale, angle));
            else
                points = RequestedPoints(element.value(QStringLiteral("internalPoints")));
            if (points.empty()) {
                errors.append(QStringLiteral("Hatch #%1: No internal points were provided").arg(i + 1));
                continue;
            }
            const QJsonObject one = CreateOneHatch(&context, points, pattern, scale, angle);
            const QJsonValue made = one.value(kEntities);
            if (one.value(kSuccess).toBool() && made.isArray()) {
                for (const QJsonValue& description : made.toArray()) created.append(description);
                continue;
            }
            const QJsonValue why = one.value(kError);
            errors.append(
                QStringLiteral("Hatch #%1: %2")
                    .arg(i + 1)
                    .arg(why.isUndefined() ? QStringLiteral("Failed to create hatch") : why.toString()));
        }
        response.insert(kSuccess, errors.isEmpty() && !created.isEmpty());
        response.insert(kEntities, created);
        response.insert(QStringLiteral("count"), created.size());
        if (!errors.isEmpty()) {
            response.insert(QStringLiteral("errors"), QJsonArray::fromStringList(errors));
            if (created.isEmpty()) response.insert(kError, errors.join(QStringLiteral("; ")));
        }
    } catch (const db::DbError& e) {
        response = QJsonObject{
            {kSuccess, false},
            {kError, QStringLiteral("Error creating hatch: %1").arg(static_cast<int>(e.status()))}};
    }
    return response;
}

}  // namespace

extern const catalogue::CommandRow kCreateHatch = {
    .slot = "CreateHatch",
    .parameter = "hatchQuery",
    .refusalPayloadKey = "entities",
    .receivedLog = "Received hatch creation query from assistant:\n%1",
    .responseLog = "Hatch creation response:\n%1",
    .globalName = "_V3_CREATEHATCH",
    .className = "CJxCommandCreateHatch",
    .notFoundMessage = "Empty JSON payload",
    .notFoundReturn = host::RTNORM,
    .body = CreateHatches,
    .effect = catalogue::Effect::Changes,
    .description =
        "Fills closed areas with hatch patterns (ANSI31 and the usual predefined set, or SOLID): each hatch "
        "is "
        "one or more areas found around their internal points, as a CAD program's pick-inside does, with the "
        "islands inside them. Give needsInternalPoint false with internalPoints; left true, the user is "
        "asked "
        "to pick a point in the drawing.",
    .requestSchema = R"json({
  "$schema": "https://json-schema.org/draft/2020-12/schema",
  "type": "object",
  "properties": {
    "entities": {
      "type": "array",
      "items": {
        "type": "object",
        "properties": {
          "pattern": {"type": "string", "default": "ANSI31"},
          "scale": {"type": "number", "default": 1},
          "angle": {"type": "number", "description": "degrees", "default": 0},
          "needsInternalPoint": {"type": "boolean", "default": true},
          "internalPoints": {"type": "array", "items": {"type": "string", "description": "x,y[,z]"}}
        }
      }
    }
  },
  "required": ["entities"]
})json",
    .exampleRequest = R"json({"entities": [{"pattern": "ANSI31", "scale": 20, "angle": 0,
        "needsInternalPoint": false, "internalPoints": ["1200,800"]}]})json",
};

}  // namespace vela::commands

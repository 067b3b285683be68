// The editing commands that act on an object selection: ERASE, MOVE, COPY, ROTATE, SCALE, MIRROR, MATCHPROP.
#include <cmath>

#include "db/database.h"
#include "db/geometry/plane.h"
#include "host/commands/command_support.h"

namespace vela::host::commands {

namespace {

/// Asks for the objects and a base point; RTNORM when both were given.
int selectWithBase(CommandContext& context, std::vector<db::ObjectId>& ids, db::Point3d& base,
                   const Prompt& basePrompt, int* baseResult = nullptr) {
    const int r = selectObjects(context, ids);
    if (r != RTNORM) return r == RTNONE ? RTNORM : r;
    const int b = context.userIO().getPoint(basePrompt, base);
    if (baseResult) *baseResult = b;
    return b == RTCAN ? RTCAN : RTNORM;
}

/// The entities to change: the selected ones, or copies of them (the "Copy" option of ROTATE and SCALE).
std::vector<db::ObjectId> targets(CommandContext& context, const std::vector<db::ObjectId>& ids, bool copy) {
    return copy ? copyEntities(context, ids) : ids;
}

}  // namespace

int eraseCommand(CommandContext& context) {
    std::vector<db::ObjectId> ids;
    const int r = selectObjects(context, ids);
    if (r != RTNORM) return r == RTNONE ? RTNORM : r;
    for (db::ObjectId id : ids) eraseEntity(id);
    return RTNORM;
}

int moveCommand(CommandContext& context) {
    std::vector<db::ObjectId> ids;
    db::Point3d base;
    int baseResult = RTNORM;
    const int r = selectWithBase(context, ids, base,
                                 Prompt(QStringLiteral("Specify base point or"))
                                     .withKeywords({QStringLiteral("Displacement")})
                                     .withDefault(QStringLiteral("Displacement")),
                                 &baseResult);
    if (r != RTNORM || ids.empty()) return r;
    UserIO& io = context.userIO();
    db::Vector3d offset;
    if (baseResult == RTKWORD) {
        db::Point3d d;
        if (io.getPoint(Prompt(QStringLiteral("Specify displacement")).withDefault(QStringLiteral("0,0,0")),
                        d) != RTNORM)
            return RTCAN;
        offset = d.asVector();
    } else {
        db::Point3d second;
        const int s =
            io.getPoint(Prompt(QStringLiteral("Specify second point or <use first point as displacement>"))
                            .orNone()
                            .from(base),
                        second);
        if (s == RTCAN) return RTCAN;
        offset = s == RTNONE ? base.asVector() : second - base;
    }
    transformEntities(context, ids, db::Matrix3d::translation(offset));
    return RTNORM;
}

int copyCommand(CommandContext& context) {
    std::vector<db::ObjectId> ids;
    db::Point3d base;
    const int r = selectWithBase(context, ids, base, Prompt(QStringLiteral("Specify base point")));
    if (r != RTNORM || ids.empty()) return r;
    UserIO& io = context.userIO();
    // Copies are placed until Enter or Exit; Undo takes the last placement back.
    std::vector<std::vector<db::ObjectId>> placed;
    for (;;) {
        Prompt prompt(placed.empty()
                          ? QStringLiteral("Specify second point or <use first point as displacement>")
                          : QStringLiteral("Specify second point or"));
        prompt.orNone().from(base);
        if (!placed.empty())
            prompt.withKeywords({QStringLiteral("Exit"), QStringLiteral("Undo")})
                .withDefault(QStringLiteral("Exit"));
        db::Point3d second;
        const int s = io.getPoint(prompt, second);
        if (s == RTCAN) return RTCAN;
        if (s == RTKWORD && io.keyword() == QLatin1String("Undo")) {
            for (db::ObjectId id : placed.back()) eraseEntity(id);
            placed.pop_back();
            continue;
        }
        if (s == RTKWORD) return RTNORM;  // Exit
        const db::Vector3d offset = s == RTNONE ? base.asVector() : second - base;
        std::vector<db::ObjectId> copies = copyEntities(context, ids);
        transformEntities(context, copies, db::Matrix3d::translation(offset));
        placed.push_back(std::move(copies));
        if (s == RTNONE) return RTNORM;
    }
}

namespace {

// ROTATE and SCALE: objects and a base point, then a value (`ask`) or Copy (the value then applies to copies;
// asked again) or Reference (`byReference`: two values whose relation is the value), and the objects or their
// copies transformed by `matrix(value, base)`.
template <class Ask, class ByReference, class MatrixOf>
int transformAroundBase(CommandContext& context, const char* copyMessage, Ask ask, ByReference byReference,
                        MatrixOf matrix) {
    std::vector<db::ObjectId> ids;
    db::Point3d base;
    const int r = selectWithBase(context, ids, base, Prompt(QStringLiteral("Specify base point")));
    if (r != RTNORM || ids.empty()) return r;
    UserIO& io = context.userIO();
    bool copy = false;
    double value = 0;
    for (;;) {
        const int s = ask(io, base, value);
        if (s == RTCAN) return RTCAN;
        if (s == RTNORM) break;
        if (io.keyword() == QLatin1String("Copy")) {
            copy = true;
            io.message(QLatin1String(copyMessage));
            continue;
        }
        if (byReference(io, base, value) != RTNORM) return RTCAN;
        break;
    }
    transformEntities(context, targets(context, ids, copy), matrix(value, base));
    return RTNORM;
}

}  // namespace

int rotateCommand(CommandContext& context) {
    return transformAroundBase(
        context, "Rotating a copy of the selected objects.",
        [](UserIO& io, const db::Point3d& base, double& angle) {
            return io.getAngle(Prompt(QStringLiteral("Specify rotation angle or"))
                                   .withKeywords({QStringLiteral("Copy"), QStringLiteral("Reference")})
                                   .withDefault(QStringLiteral("0"))
                                   .from(base),
                               angle);
        },
        [](UserIO& io, const db::Point3d& base, double& angle) {
            double reference = 0, target = 0;  // a known angle that is to become a new one
            if (io.getAngle(
                    Prompt(QStringLiteral("Specify the reference angle")).withDefault(QStringLiteral("0")),
                    reference) != RTNORM ||
                io.getAngle(Prompt(QStringLiteral("Specify the new angle"))
                                .withDefault(QStringLiteral("0"))
                                .from(base),
                            target) != RTNORM)
                return RTCAN;
            angle = target - reference;
            return RTNORM;
        },
        [](double angle, const db::Point3d& base) {
            return db::Matrix3d::rotation(angle, db::Vector3d::zAxis(), base);
        });
}

int scaleCommand(CommandContext& context) {
    return transformAroundBase(
        context, "Scaling a copy of the selected objects.",
        [](UserIO& io, const db::Point3d& base, double& factor) {
            return io.getDistance(Prompt(QStringLiteral("Specify scale factor or"))
                                      .withKeywords({QStringLiteral("Copy"), QStringLiteral("Reference")})
                                      .from(base)
                                      .above(),
                                  factor);
        },
        [](UserIO& io, const db::Point3d& base, double& factor) {
            double reference = 1, target = 1;  // a length that is to become another
            if (io.getDistance(Prompt(QStringLiteral("Specify reference length"))
                                   .withDefault(QStringLiteral("1"))
                                   .above(),
                               reference) != RTNORM ||
                io.getDistance(Prompt(QStringLiteral("Specify new length"))
                                   .withDefault(QStringLiteral("1"))
                                   .from(base)
                                   .above(),
                               target) != RTNORM)
                return RTCAN;
            factor = target / reference;
            return RTNORM;
        },
        [](double factor, const db::Point3d& base) { return db::Matrix3d::scaling(factor, base); });
}

int mirrorCommand(CommandContext& context) {
    std::vector<db::ObjectId> ids;
    db::Point3d a;
    const int r =
        selectWithBase(context, ids, a, Prompt(QStringLiteral("Specify first point of mirror line")));
    if (r != RTNORM || ids.empty()) return r;
    UserIO& io = context.userIO();
    db::Point3d b;
    for (;;) {
        if (io.getPoint(Prompt(QStringLiteral("Specify second point of mirror line")).from(a), b) != RTNORM)
            return RTCAN;
        if (std::hypot(b.x - a.x, b.y - a.y) > 1e-12) break;
        io.message(QStringLiteral("The mirror line must have a length."));
    }
    const int e = io.getKeyword(Prompt(QStringLiteral("Erase source objects?"))
                                    .withKeywords({QStringLiteral("Yes"), QStringLiteral("No")})
                                    .withDefault(QStringLiteral("No")));
    if (e == RTCAN) return RTCAN;
    const bool erase = io.keyword() == QLatin1String("Yes");
    const db::Vector3d normal = db::Vector3d(-(b.y - a.y), b.x - a.x, 0).normalized();
    transformEntities(context, targets(context, ids, !erase), db::Matrix3d::mirroring(a, normal));
    return RTNORM;
}

int matchpropCommand(CommandContext& context) {
    if (!haveDrawing(context)) return RTERROR;
    db::ObjectId source;
    int r = pickObject(context, Prompt(QStringLiteral("Select source object")), source);
    if (r != RTNORM) return r == RTCAN ? RTCAN : RTNORM;
    auto from = db::openObject<db::Entity>(source, db::OpenMode::ForRead);
    if (!from) return RTERROR;
    const db::ObjectId layer = from->layerId(), linetype = from->linetypeId();
    const db::Color color = from->color();
    const db::LineWeight weight = from->lineWeight();
    const double scale = from->linetypeScale();
    const db::Transparency transparency = from->transparency();
    from.close();
    context.userIO().message(
        QStringLiteral("Current active settings:  Color Layer Ltype Ltscale Lineweight Transparency"));
    std::vector<db::ObjectId> ids;
    r = selectObjects(context, ids, QStringLiteral("Select destination object(s)"));
    if (r != RTNORM) return r == RTNONE ? RTNORM : r;
    for (db::ObjectId id : ids) {
        if (id == source) continue;
        auto e = db::openObject<db::Entity>(id, db::OpenMode::ForWrite);
        if (!e) continue;
        e->setLayerId(layer);
        e->setLinetypeId(linetype);
        e->setColor(color);
        e->setLineWeight(weight);
        e->setLinetypeScale(scale);
        e->setTransparency(transparency);
    }
    return RTNORM;
}

}  // namespace vela::host::commands

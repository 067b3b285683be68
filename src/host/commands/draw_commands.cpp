// The drawing commands that make one kind of entity each: LINE, CIRCLE, ARC, ELLIPSE, POINT, TEXT, RECTANG.
#include <cmath>
#include <optional>

#include "db/database.h"
#include "db/entities/arc.h"
#include "db/entities/circle.h"
#include "db/entities/ellipse.h"
#include "db/entities/line.h"
#include "db/entities/point.h"
#include "db/entities/polyline.h"
#include "db/entities/text.h"
#include "db/geometry/plane.h"
#include "host/commands/command_support.h"
#include "host/host.h"

namespace vela::host::commands {

namespace {

constexpr double kTiny = 1e-10;

/// The circle through three points in the XY plane; nothing when they lie on one line.
std::optional<std::pair<db::Point3d, double>> circleThrough(const db::Point3d& a, const db::Point3d& b,
                                                            const db::Point3d& c) {
    const double d = 2 * (a.x * (b.y - c.y) + b.x * (c.y - a.y) + c.x * (a.y - b.y));
    const double scale = std::max({(b - a).length(), (c - b).length(), (c - a).length()});
    if (std::abs(d) <= kTiny * scale * scale) return std::nullopt;
    const double a2 = a.x * a.x + a.y * a.y, b2 = b.x * b.x + b.y * b.y, c2 = c.x * c.x + c.y * c.y;
    const db::Point3d center((a2 * (b.y - c.y) + b2 * (c.y - a.y) + c2 * (a.y - b.y)) / d,
                             (a2 * (c.x - b.x) + b2 * (a.x - c.x) + c2 * (b.x - a.x)) / d, a.z);
    return std::pair(center, (a - center).length());
}

double angleOf(const db::Point3d& from, const db::Point3d& to) {
    return std::atan2(to.y - from.y, to.x - from.x);
}

db::ObjectId addCircle(CommandContext& context, const db::Point3d& center, double radius) {
    if (!(radius > 0)) {
        context.userIO().message(QStringLiteral("The radius must be above zero."));
        return {};
    }
    systemVariables().set(QStringLiteral("CIRCLERAD"), radius, context.document());
    return addEntity(context, std::make_unique<db::Circle>(center, radius));
}

}  // namespace

int lineCommand(CommandContext& context) {
    if (!haveDrawing(context)) return RTERROR;
    UserIO& io = context.userIO();
    db::Point3d first;
    int r = io.getPoint(Prompt(QStringLiteral("Specify first point")).orNone(), first);
    if (r == RTNONE) return RTNORM;
    if (r != RTNORM) return RTCAN;
    // Each segment is drawn as soon as its end is given; Undo takes the last one back.
    std::vector<std::pair<db::ObjectId, db::Point3d>> segments;  // segment, its start
    db::Point3d last = first;
    for (;;) {
        Prompt prompt(QStringLiteral("Specify next point or"));
        prompt
            .withKeywords(segments.size() >= 2 ? QStringList{QStringLiteral("Close"), QStringLiteral("Undo")}
                                               : QStringList{QStringLiteral("Undo")})
            .orNone()
            .from(last);
        db::Point3d next;
        r = io.getPoint(prompt, next);
        if (r == RTCAN) return RTCAN;
        if (r == RTNONE) return RTNORM;
        if (r == RTKWORD && io.keyword() == QLatin1String("Undo")) {
            if (segments.empty()) {
                io.message(QStringLiteral("All segments already undone."));
                continue;
            }
            eraseEntity(segments.back().first);
            last = segments.back().second;
            segments.pop_back();
            continue;
        }
        const bool closing = r == RTKWORD;  // Close
        if (closing) next = first;
        if (next.isEqualTo(last)) {
            io.message(QStringLiteral("The segment would have no length."));
            continue;
        }
        segments.emplace_back(addEntity(context, std::make_unique<db::Line>(last, next)), last);
        last = next;
        if (closing) return RTNORM;
    }
}

int circleCommand(CommandContext& context) {
    if (!haveDrawing(context)) return RTERROR;
    UserIO& io = context.userIO();
    db::Point3d center;
    int r = io.getPoint(Prompt(QStringLiteral("Specify center point for circle or"))
                            .withKeywords({QStringLiteral("3P"), QStringLiteral("2P")}),
                        center);
    if (r == RTCAN) return RTCAN;
    if (r == RTKWORD && io.keyword() == QLatin1String("2P")) {
        db::Point3d a, b;
        if (io.getPoint(Prompt(QStringLiteral("Specify first end point of circle's diameter")), a) != RTNORM)
            return RTCAN;
        for (;;) {
            if (io.getPoint(Prompt(QStringLiteral("Specify second end point of circle's diameter")).from(a),
                            b) != RTNORM)
                return RTCAN;
            if (!b.isEqualTo(a)) break;
            io.message(QStringLiteral("The two points must differ."));
        }
        return addCircle(context, a + (b - a) * 0.5, (b - a).length() / 2).isNull() ? RTERROR : RTNORM;
    }
    if (r == RTKWORD) {  // 3P
        db::Point3d a, b, c;
        if (io.getPoint(Prompt(QStringLiteral("Specify first point on circle")), a) != RTNORM) return RTCAN;
        if (io.getPoint(Prompt(QStringLiteral("Specify second point on circle")).from(a), b) != RTNORM)
            return RTCAN;
        for (;;) {
            if (io.getPoint(Prompt(QStringLiteral("Specify third point on circle")).from(b), c) != RTNORM)
                return RTCAN;
            if (const auto circle = circleThrough(a, b, c))
                return addCircle(context, circle->first, circle->second).isNull() ? RTERROR : RTNORM;
            io.message(QStringLiteral("Circle does not exist: the three points lie on one line."));
        }
    }
    const double remembered = systemVariables().circleRadius();
    Prompt radiusPrompt(QStringLiteral("Specify radius of circle or"));
    radiusPrompt.withKeywords({QStringLiteral("Diameter")}).from(center).above();
    if (remembered > 0) radiusPrompt.withDefault(numberText(remembered));
    double radius = 0;
    r = io.getDistance(radiusPrompt, radius);
    if (r == RTCAN) return RTCAN;
    if (r == RTKWORD) {
        Prompt diameterPrompt(QStringLiteral("Specify diameter of circle"));
        diameterPrompt.from(center).above();
        if (remembered > 0) diameterPrompt.withDefault(numberText(remembered * 2));
        double diameter = 0;
        if (io.getDistance(diameterPrompt, diameter) != RTNORM) return RTCAN;
        radius = diameter / 2;
    }
    return addCircle(context, center, radius).isNull() ? RTERROR : RTNORM;
}

int arcCommand(CommandContext& context) {
    if (!haveDrawing(context)) return RTERROR;
    UserIO& io = context.userIO();
    db::Point3d start, center;
    int r = io.getPoint(
        Prompt(QStringLiteral("Specify start point of arc or")).withKeywords({QStringLiteral("Center")}),
        start);
    if (r == RTCAN) return RTCAN;
    if (r == RTKWORD) {
        if (io.getPoint(Prompt(QStringLiteral("Specify center point of arc")), center) != RTNORM)
            return RTCAN;
        for (;;) {
            if (io.getPoint(Prompt(QStringLiteral("Specify start point of arc")).from(center), start) !=
                RTNORM)
                return RTCAN;
            if (!start.isEqualTo(center)) break;
            io.message(QStringLiteral("The start point must differ from the center."));
        }
    } else {
        db::Point3d second;
        r = io.getPoint(Prompt(QStringLiteral("Specify second point of arc or"))
                            .withKeywords({QStringLiteral("Center")})
                            .from(start),
                        second);
        if (r == RTCAN) return RTCAN;
        if (r == RTKWORD) {
            for (;;) {
                if (io.getPoint(Prompt(QStringLiteral("Specify center point of arc")).from(start), center) !=
                    RTNORM)
                    return RTCAN;
                if (!start.isEqualTo(center)) break;
                io.message(QStringLiteral("The center must differ from the start point."));
            }
        } else {
            // Three points: the arc runs from the start through the second point to the end.
            for (;;) {
                db::Point3d end;
                if (io.getPoint(Prompt(QStringLiteral("Specify end point of arc")).from(second), end) !=
                    RTNORM)
                    return RTCAN;
                const auto circle = circleThrough(start, second, end);
                if (!circle) {
                    io.message(QStringLiteral("Arc does not exist: the three points lie on one line."));
                    continue;
                }
                const db::Point3d& c = circle->first;
                double a0 = angleOf(c, start), a1 = angleOf(c, end);
                // Counter-clockwise from start to end must pass the second point; otherwise swap the ends.
                if (!db::angleOnSweep(angleOf(c, second), db::normalizeAngle(a0), db::normalizeAngle(a1)))
                    std::swap(a0, a1);
                return addEntity(context, std::make_unique<db::Arc>(c, circle->second, db::normalizeAngle(a0),
                                                                    db::normalizeAngle(a1)))
                               .isNull()
                           ? RTERROR
                           : RTNORM;
            }
        }
    }
    // Start and center known: counter-clockwise to the end point's direction, or through an included angle.
    const double radius = (start - center).length();
    const double a0 = angleOf(center, start);
    double a1 = 0;
    db::Point3d end;
    r = io.getPoint(Prompt(QStringLiteral("Specify end point of arc or"))
                        .withKeywords({QStringLiteral("Angle")})
                        .from(center),
                    end);
    if (r == RTCAN) return RTCAN;
    if (r == RTKWORD) {
        double included = 0;
        if (io.getAngle(Prompt(QStringLiteral("Specify included angle")).from(center), included) != RTNORM)
            return RTCAN;
        if (std::abs(std::fmod(included, db::kTwoPi)) < 1e-12) {
            io.message(QStringLiteral("The included angle must not be a whole turn or zero."));
            return RTERROR;
        }
        double from = a0, to = a0 + included;
        if (included < 0) std::swap(from, to);
        return addEntity(context, std::make_unique<db::Arc>(center, radius, db::normalizeAngle(from),
                                                            db::normalizeAngle(to)))
                       .isNull()
                   ? RTERROR
                   : RTNORM;
    }
    a1 = end.isEqualTo(center) ? a0 : angleOf(center, end);
    return addEntity(context, std::make_unique<db::Arc>(center, radius, db::normalizeAngle(a0),
                                                        db::normalizeAngle(a1)))
                   .isNull()
               ? RTERROR
               : RTNORM;
}

int ellipseCommand(CommandContext& context) {
    if (!haveDrawing(context)) return RTERROR;
    UserIO& io = context.userIO();
    db::Point3d p1, p2, center;
    int r = io.getPoint(Prompt(QStringLiteral("Specify axis endpoint of ellipse or"))
                            .withKeywords({QStringLiteral("Center")}),
                        p1);
    if (r == RTCAN) return RTCAN;
    db::Vector3d axis;  // from the center to one end of the first axis
    if (r == RTKWORD) {
        if (io.getPoint(Prompt(QStringLiteral("Specify center of ellipse")), center) != RTNORM) return RTCAN;
        for (;;) {
            if (io.getPoint(Prompt(QStringLiteral("Specify endpoint of axis")).from(center), p2) != RTNORM)
                return RTCAN;
            if (!p2.isEqualTo(center)) break;
            io.message(QStringLiteral("The axis must have a length."));
        }
        axis = p2 - center;
    } else {
        for (;;) {
            if (io.getPoint(Prompt(QStringLiteral("Specify other endpoint of axis")).from(p1), p2) != RTNORM)
                return RTCAN;
            if (!p2.isEqualTo(p1)) break;
            io.message(QStringLiteral("The axis must have a length."));
        }
        center = p1 + (p2 - p1) * 0.5;
        axis = p2 - center;
    }
    axis.z = 0;
    double other = 0;
    r = io.getDistance(Prompt(QStringLiteral("Specify distance to other axis or"))
                           .withKeywords({QStringLiteral("Rotation")})
                           .from(center)
                           .above(),
                       other);
    if (r == RTCAN) return RTCAN;
    if (r == RTKWORD) {
        double rotation = 0;
        for (;;) {
            if (io.getAngle(Prompt(QStringLiteral("Specify rotation around major axis")), rotation) != RTNORM)
                return RTCAN;
            if (std::abs(std::cos(rotation)) > 1e-6 && std::abs(std::cos(rotation)) <= 1) break;
            io.message(QStringLiteral("The rotation must be less than 89.4 degrees."));
        }
        other = axis.length() * std::abs(std::cos(rotation));
    }
    // The longer axis is the major one.
    db::Vector3d major = axis;
    double ratio = other / axis.length();
    if (ratio > 1) {
        major = db::Vector3d(-axis.y, axis.x, 0).normalized() * other;
        ratio = axis.length() / other;
    }
    auto ellipse = std::make_unique<db::Ellipse>();
    if (ellipse->set(center, db::Vector3d::zAxis(), major, ratio) != db::ErrorStatus::Ok) {
        io.message(QStringLiteral("Ellipse does not exist with these axes."));
        return RTERROR;
    }
    return addEntity(context, std::move(ellipse)).isNull() ? RTERROR : RTNORM;
}

int pointCommand(CommandContext& context) {
    if (!haveDrawing(context)) return RTERROR;
    db::Point3d p;
    if (context.userIO().getPoint(Prompt(QStringLiteral("Specify a point")), p) != RTNORM) return RTCAN;
    return addEntity(context, std::make_unique<db::PointEntity>(p)).isNull() ? RTERROR : RTNORM;
}

int textCommand(CommandContext& context) {
    if (!haveDrawing(context)) return RTERROR;
    UserIO& io = context.userIO();
    db::Database& db = *context.database();
    io.message(
        QStringLiteral("Current text style:  \"Standard\"  Text height:  %1").arg(numberText(db.textSize())));
    db::Point3d start;
    if (io.getPoint(Prompt(QStringLiteral("Specify start point of text")), start) != RTNORM) return RTCAN;
    double height = db.textSize();
    int r = io.getDistance(
        Prompt(QStringLiteral("Specify height")).withDefault(numberText(height)).from(start).above(), height);
    if (r != RTNORM) return RTCAN;
    double rotation = 0;
    if (io.getAngle(Prompt(QStringLiteral("Specify rotation angle of text"))
                        .withDefault(QStringLiteral("0"))
                        .from(start),
                    rotation) != RTNORM)
        return RTCAN;
    db.setTextSize(height);
    const db::ObjectId standard = db.textStyleTable()->getAt("Standard");
    // One text entity a line; Enter on an empty line ends, as on a CAD command line.
    db::Point3d at = start;
    const db::Vector3d down = db::Vector3d(std::sin(rotation), -std::cos(rotation), 0) * (height * 5.0 / 3.0);
    for (;;) {
        QString line;
        r = io.getText(Prompt(QStringLiteral("Enter text")).orNone(), true, line);
        if (r == RTCAN) return RTCAN;
        if (r == RTNONE || line.isEmpty()) return RTNORM;
        auto text = std::make_unique<db::Text>(at, line.toStdString(), height);
        text->setRotation(rotation);
        if (!standard.isNull()) text->setTextStyle(standard);
        if (addEntity(context, std::move(text)).isNull()) return RTERROR;
        at = at + down;
    }
}

int rectangCommand(CommandContext& context) {
    if (!haveDrawing(context)) return RTERROR;
    UserIO& io = context.userIO();
    db::Point3d a;
    if (io.getPoint(Prompt(QStringLiteral("Specify first corner point")), a) != RTNORM) return RTCAN;
    db::Point3d b;
    for (;;) {
        const int r = io.getPoint(Prompt(QStringLiteral("Specify other corner point or"))
                                      .withKeywords({QStringLiteral("Dimensions")})
                                      .from(a),
                                  b);
        if (r == RTCAN) return RTCAN;
        if (r == RTKWORD) {
            double length = 0, width = 0;
            if (io.getDistance(Prompt(QStringLiteral("Specify length for rectangles")).above(), length) !=
                RTNORM)
                return RTCAN;
            if (io.getDistance(Prompt(QStringLiteral("Specify width for rectangles")).above(), width) !=
                RTNORM)
                return RTCAN;
            // Which quadrant the rectangle lies in is shown by a point.
            db::Point3d side;
            if (io.getPoint(Prompt(QStringLiteral("Specify other corner point")).from(a), side) != RTNORM)
                return RTCAN;
            b = db::Point3d(a.x + (side.x < a.x ? -length : length), a.y + (side.y < a.y ? -width : width),
                            a.z);
        }
        if (std::abs(b.x - a.x) > kTiny && std::abs(b.y - a.y) > kTiny) break;
        io.message(QStringLiteral("The rectangle would have no area."));
    }
    auto pl = std::make_unique<db::Polyline>();
    pl->setVertices(
        {{db::Point2d(a.x, a.y)}, {db::Point2d(b.x, a.y)}, {db::Point2d(b.x, b.y)}, {db::Point2d(a.x, b.y)}});
    pl->setElevation(a.z);
    pl->setClosed(true);
    return addEntity(context, std::move(pl)).isNull() ? RTERROR : RTNORM;
}

}  // namespace vela::host::commands

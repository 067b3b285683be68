// PLINE: a lightweight polyline of straight and arc segments, with widths.
#include <cmath>
#include <optional>

#include "db/entities/polyline.h"
#include "db/geometry/plane.h"
#include "host/commands/command_support.h"

namespace vela::host::commands {

namespace {

using Vertex = db::Polyline::Vertex;

/// The direction the path leaves a vertex in after the segment that ends there: what a following arc is
/// tangent to.
double endDirection(const std::vector<Vertex>& v) {
    if (v.size() < 2) return 0.0;
    const Vertex& a = v[v.size() - 2];
    const db::Point2d& b = v.back().point;
    const double chord = std::atan2(b.y - a.point.y, b.x - a.point.x);
    return chord + 2 * std::atan(a.bulge);  // half the sweep (4 atan b) past the chord
}

/// The bulge of an arc leaving `from` in `direction` (radians) and ending at `to`; nothing when `to` lies
/// straight behind (no such arc).
std::optional<double> tangentBulge(const db::Point2d& from, double direction, const db::Point2d& to) {
    const double chord = std::atan2(to.y - from.y, to.x - from.x);
    const double alpha = std::remainder(chord - direction, db::kTwoPi);  // in [-pi, pi]
    if (std::abs(std::abs(alpha) - db::kPi) < 1e-9) return std::nullopt;
    return std::tan(alpha / 2);  // the chord lies half the sweep past the tangent
}

/// The bulge of the arc from `a` through `s` to `b`; nothing when the points lie on one line.
std::optional<double> threePointBulge(const db::Point2d& a, const db::Point2d& s, const db::Point2d& b) {
    const double cross = (s.x - a.x) * (b.y - a.y) - (s.y - a.y) * (b.x - a.x);
    const double size = std::hypot(b.x - a.x, b.y - a.y) * std::hypot(s.x - a.x, s.y - a.y);
    if (std::abs(cross) <= 1e-12 * size || size == 0) return std::nullopt;
    // The inscribed angle at s is half of the arc's complement: the sweep is 2pi - 2 * angle(a s b).
    const double angleAtS =
        std::atan2(std::abs(cross), (a.x - s.x) * (b.x - s.x) + (a.y - s.y) * (b.y - s.y));
    const double sweep = db::kTwoPi - 2 * std::abs(std::remainder(angleAtS, db::kTwoPi));
    // Counter-clockwise (positive) when s lies to the right of a->b.
    return std::tan(sweep / 4) * (cross > 0 ? 1 : -1);
}

}  // namespace

int plineCommand(CommandContext& context) {
    if (!haveDrawing(context)) return RTERROR;
    UserIO& io = context.userIO();
    db::Point3d start;
    if (io.getPoint(Prompt(QStringLiteral("Specify start point")), start) != RTNORM) return RTCAN;
    double startWidth = 0, endWidth = 0;
    io.message(QStringLiteral("Current line-width is %1").arg(numberText(endWidth)));
    std::vector<Vertex> v{{db::Point2d(start.x, start.y)}};
    bool arcMode = false, closed = false;
    for (;;) {
        const db::Point2d& last = v.back().point;
        Prompt prompt(arcMode ? QStringLiteral("Specify endpoint of arc or")
                              : QStringLiteral("Specify next point or"));
        QStringList keywords =
            arcMode ? QStringList{QStringLiteral("CLose"), QStringLiteral("Line"), QStringLiteral("Second"),
                                  QStringLiteral("Undo"), QStringLiteral("Width")}
                    : QStringList{QStringLiteral("Arc"), QStringLiteral("Close"), QStringLiteral("Undo"),
                                  QStringLiteral("Width")};
        if (v.size() < 2)
            keywords.removeIf(
                [](const QString& k) { return k.compare(QLatin1String("close"), Qt::CaseInsensitive) == 0; });
        prompt.withKeywords(keywords).orNone().from(db::Point3d(last.x, last.y, start.z));
        db::Point3d p;
        const int r = io.getPoint(prompt, p);
        if (r == RTCAN) return RTCAN;
        if (r == RTNONE) break;
        std::optional<db::Point2d> next;
        double bulge = 0;
        if (r == RTKWORD) {
            const QString k = io.keyword();
            if (k == QLatin1String("Arc") || k == QLatin1String("Line")) {
                arcMode = k == QLatin1String("Arc");
                continue;
            }
            if (k == QLatin1String("Undo")) {
                if (v.size() < 2) {
                    io.message(QStringLiteral("All segments already undone."));
                    continue;
                }
                v.pop_back();
                v.back().bulge = 0;
                continue;
            }
            if (k == QLatin1String("Width")) {
                if (io.getDistance(Prompt(QStringLiteral("Specify starting width"))
                                       .withDefault(numberText(endWidth))
                                       .above(true),
                                   startWidth) != RTNORM)
                    return RTCAN;
                endWidth = startWidth;
                if (io.getDistance(Prompt(QStringLiteral("Specify ending width"))
                                       .withDefault(numberText(startWidth))
                                       .above(true),
                                   endWidth) != RTNORM)
                    return RTCAN;
                continue;
            }
            if (k == QLatin1String("Second")) {
                db::Point3d s, e;
                if (io.getPoint(Prompt(QStringLiteral("Specify second point on arc")), s) != RTNORM)
                    return RTCAN;
                if (io.getPoint(Prompt(QStringLiteral("Specify end point of arc")).from(s), e) != RTNORM)
                    return RTCAN;
                const std::optional<double> b =
                    threePointBulge(last, db::Point2d(s.x, s.y), db::Point2d(e.x, e.y));
                if (!b) {
                    io.message(QStringLiteral("Arc does not exist: the three points lie on one line."));
                    continue;
                }
                next = db::Point2d(e.x, e.y), bulge = *b;
            } else {  // Close / CLose: back to the first vertex
                next = v.front().point;
                closed = true;
            }
        } else {
            next = db::Point2d(p.x, p.y);
        }
        if (std::hypot(next->x - last.x, next->y - last.y) <= 1e-12) {
            io.message(QStringLiteral("The segment would have no length."));
            closed = false;
            continue;
        }
        if (arcMode && r != RTKWORD) {
            const std::optional<double> b = tangentBulge(last, endDirection(v), *next);
            if (!b) {
                io.message(QStringLiteral("Invalid: the end point lies straight behind the arc's start."));
                continue;
            }
            bulge = *b;
        } else if (arcMode && closed) {
            bulge = tangentBulge(last, endDirection(v), *next).value_or(0.0);
        }
        v.back().bulge = bulge;
        v.back().startWidth = startWidth;
        v.back().endWidth = endWidth;
        startWidth = endWidth;  // the next segment starts as wide as this one ends
        if (closed) break;
        v.push_back(Vertex{*next});
    }
    if (v.size() < 2) return RTNORM;
    auto pl = std::make_unique<db::Polyline>();
    // One width everywhere is the polyline's constant width rather than a width at every vertex.
    const bool constant = std::all_of(v.begin(), v.end() - (closed ? 0 : 1), [&](const Vertex& x) {
        return x.startWidth == v.front().startWidth && x.endWidth == v.front().startWidth;
    });
    if (constant) {
        pl->setConstantWidth(v.front().startWidth);
        for (Vertex& x : v) x.startWidth = x.endWidth = 0;
    }
    if (!closed) v.back().startWidth = v.back().endWidth = 0;
    pl->setVertices(std::move(v));
    pl->setClosed(closed);
    pl->setElevation(start.z);
    return addEntity(context, std::move(pl)).isNull() ? RTERROR : RTNORM;
}

}  // namespace vela::host::commands

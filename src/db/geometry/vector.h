#pragma once

#include <cmath>

namespace vela::db {

/// Tolerance used for geometric comparisons (equal points, zero lengths, uniform scale).
inline constexpr double kGeomTolerance = 1e-10;

struct Vector3d {
    double x = 0.0, y = 0.0, z = 0.0;

    constexpr Vector3d() = default;
    constexpr Vector3d(double ax, double ay, double az = 0.0) : x(ax), y(ay), z(az) {}

    static constexpr Vector3d xAxis() { return {1, 0, 0}; }
    static constexpr Vector3d yAxis() { return {0, 1, 0}; }
    static constexpr Vector3d zAxis() { return {0, 0, 1}; }

    constexpr Vector3d operator+(const Vector3d& o) const { return {x + o.x, y + o.y, z + o.z}; }
    constexpr Vector3d operator-(const Vector3d& o) const { return {x - o.x, y - o.y, z - o.z}; }
    constexpr Vector3d operator-() const { return {-x, -y, -z}; }
    constexpr Vector3d operator*(double s) const { return {x * s, y * s, z * s}; }
    constexpr Vector3d operator/(double s) const { return {x / s, y / s, z / s}; }
    constexpr bool operator==(const Vector3d&) const = default;

    constexpr double dot(const Vector3d& o) const { return x * o.x + y * o.y + z * o.z; }
    constexpr Vector3d cross(const Vector3d& o) const {
        return {y * o.z - z * o.y, z * o.x - x * o.z, x * o.y - y * o.x};
    }
    double length() const { return std::sqrt(dot(*this)); }
    bool isZero(double tol = kGeomTolerance) const { return length() <= tol; }
    Vector3d normalized() const {
        const double l = length();
        return l > 0.0 ? *this / l : *this;
    }
    bool isEqualTo(const Vector3d& o, double tol = kGeomTolerance) const { return (*this - o).length() <= tol; }
    /// Angle of the vector's projection on the XY plane, in radians, in (-pi, pi].
    double angleXY() const { return std::atan2(y, x); }
};

inline constexpr Vector3d operator*(double s, const Vector3d& v) { return v * s; }

struct Point3d {
    double x = 0.0, y = 0.0, z = 0.0;

    constexpr Point3d() = default;
    constexpr Point3d(double ax, double ay, double az = 0.0) : x(ax), y(ay), z(az) {}

    constexpr Point3d operator+(const Vector3d& v) const { return {x + v.x, y + v.y, z + v.z}; }
    constexpr Point3d operator-(const Vector3d& v) const { return {x - v.x, y - v.y, z - v.z}; }
    constexpr Vector3d operator-(const Point3d& o) const { return {x - o.x, y - o.y, z - o.z}; }
    constexpr bool operator==(const Point3d&) const = default;

    constexpr Vector3d asVector() const { return {x, y, z}; }
    double distanceTo(const Point3d& o) const { return (*this - o).length(); }
    bool isEqualTo(const Point3d& o, double tol = kGeomTolerance) const { return distanceTo(o) <= tol; }
};

struct Point2d {
    double x = 0.0, y = 0.0;

    constexpr Point2d() = default;
    constexpr Point2d(double ax, double ay) : x(ax), y(ay) {}
    constexpr bool operator==(const Point2d&) const = default;
    constexpr Point3d to3d(double z = 0.0) const { return {x, y, z}; }
};

}  // namespace vela::db

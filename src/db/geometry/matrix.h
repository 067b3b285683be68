#pragma once

#include <array>
#include <optional>

#include "db/geometry/vector.h"

namespace vela::db {

/// A 4x4 affine transformation acting on column vectors: p' = M * p.
class Matrix3d {
public:
    constexpr Matrix3d() : m_{{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}} {}
    explicit constexpr Matrix3d(const std::array<std::array<double, 4>, 4>& rows) : m_(rows) {}

    static constexpr Matrix3d identity() { return Matrix3d(); }
    static Matrix3d translation(const Vector3d& offset);
    /// Rotation by `angle` radians about the axis through `center` along `axis`.
    static Matrix3d rotation(double angle, const Vector3d& axis = Vector3d::zAxis(),
                             const Point3d& center = Point3d());
    /// Uniform scaling about `center`.
    static Matrix3d scaling(double factor, const Point3d& center = Point3d());
    /// Per-axis scaling about `center`.
    static Matrix3d scaling(const Vector3d& factors, const Point3d& center = Point3d());
    /// Mirror through the plane containing `point` with normal `normal`.
    static Matrix3d mirroring(const Point3d& point, const Vector3d& normal);

    constexpr double operator()(int row, int col) const { return m_[row][col]; }
    constexpr double& operator()(int row, int col) { return m_[row][col]; }
    constexpr bool operator==(const Matrix3d&) const = default;

    /// The product this * other: applying the result applies `other` first, then this.
    Matrix3d operator*(const Matrix3d& other) const;
    Matrix3d& preMultiplyBy(const Matrix3d& left) { return *this = left * *this; }
    Matrix3d& postMultiplyBy(const Matrix3d& right) { return *this = *this * right; }

    Point3d apply(const Point3d& p) const;
    /// Applies only the linear part (no translation).
    Vector3d apply(const Vector3d& v) const;

    double determinant() const;
    std::optional<Matrix3d> inverse() const;

    Vector3d translationPart() const { return {m_[0][3], m_[1][3], m_[2][3]}; }
    /// True when the linear part is a rotation (possibly with reflection) times one scale factor.
    bool isUniformScaledOrthogonal(double tol = 1e-9) const;
    /// The uniform scale factor (length of the transformed unit X), meaningful when uniform.
    double scaleFactor() const;
    /// True when the matrix has a last row of (0, 0, 0, 1).
    bool isAffine(double tol = 1e-12) const;
    /// True when the matrix only moves: an affine matrix whose linear part is the identity.
    bool isTranslation(double tol = 1e-12) const;

private:
    std::array<std::array<double, 4>, 4> m_;
};

}  // namespace vela::db

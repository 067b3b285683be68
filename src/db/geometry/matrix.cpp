#include "db/geometry/matrix.h"

#include <cmath>

namespace vela::db {

Matrix3d Matrix3d::translation(const Vector3d& offset) {
    Matrix3d m;
    m(0, 3) = offset.x;
    m(1, 3) = offset.y;
    m(2, 3) = offset.z;
    return m;
}

Matrix3d Matrix3d::rotation(double angle, const Vector3d& axisIn, const Point3d& center) {
    const Vector3d a = axisIn.normalized();
    const double c = std::cos(angle), s = std::sin(angle), t = 1.0 - c;
    Matrix3d r;
    r(0, 0) = t * a.x * a.x + c;
    r(0, 1) = t * a.x * a.y - s * a.z;
    r(0, 2) = t * a.x * a.z + s * a.y;
    r(1, 0) = t * a.x * a.y + s * a.z;
    r(1, 1) = t * a.y * a.y + c;
    r(1, 2) = t * a.y * a.z - s * a.x;
    r(2, 0) = t * a.x * a.z - s * a.y;
    r(2, 1) = t * a.y * a.z + s * a.x;
    r(2, 2) = t * a.z * a.z + c;
    return translation(center.asVector()) * r * translation(-center.asVector());
}

Matrix3d Matrix3d::scaling(double factor, const Point3d& center) {
    return scaling(Vector3d(factor, factor, factor), center);
}

Matrix3d Matrix3d::scaling(const Vector3d& f, const Point3d& center) {
    Matrix3d s;
    s(0, 0) = f.x;
    s(1, 1) = f.y;
    s(2, 2) = f.z;
    return translation(center.asVector()) * s * translation(-center.asVector());
}

Matrix3d Matrix3d::mirroring(const Point3d& point, const Vector3d& normalIn) {
    const Vector3d n = normalIn.normalized();
    Matrix3d m;
    const double nn[3] = {n.x, n.y, n.z};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) m(i, j) = (i == j ? 1.0 : 0.0) - 2.0 * nn[i] * nn[j];
    return translation(point.asVector()) * m * translation(-point.asVector());
}

Matrix3d Matrix3d::operator*(const Matrix3d& o) const {
    Matrix3d r;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) {
            double sum = 0.0;
            for (int k = 0; k < 4; ++k) sum += m_[i][k] * o.m_[k][j];
            r.m_[i][j] = sum;
        }
    return r;
}

Point3d Matrix3d::apply(const Point3d& p) const {
    const double x = m_[0][0] * p.x + m_[0][1] * p.y + m_[0][2] * p.z + m_[0][3];
    const double y = m_[1][0] * p.x + m_[1][1] * p.y + m_[1][2] * p.z + m_[1][3];
    const double z = m_[2][0] * p.x + m_[2][1] * p.y + m_[2][2] * p.z + m_[2][3];
    const double w = m_[3][0] * p.x + m_[3][1] * p.y + m_[3][2] * p.z + m_[3][3];
    if (w != 1.0 && w != 0.0) return {x / w, y / w, z / w};
    return {x, y, z};
}

Vector3d Matrix3d::apply(const Vector3d& v) const {
    return {m_[0][0] * v.x + m_[0][1] * v.y + m_[0][2] * v.z, m_[1][0] * v.x + m_[1][1] * v.y + m_[1][2] * v.z,
            m_[2][0] * v.x + m_[2][1] * v.y + m_[2][2] * v.z};
}

double Matrix3d::determinant() const {
    // Laplace expansion over 2x2 minors of the first two and last two rows.
    const auto& a = m_;
    const double s0 = a[0][0] * a[1][1] - a[1][0] * a[0][1];
    const double s1 = a[0][0] * a[1][2] - a[1][0] * a[0][2];
    const double s2 = a[0][0] * a[1][3] - a[1][0] * a[0][3];
    const double s3 = a[0][1] * a[1][2] - a[1][1] * a[0][2];
    const double s4 = a[0][1] * a[1][3] - a[1][1] * a[0][3];
    const double s5 = a[0][2] * a[1][3] - a[1][2] * a[0][3];
    const double c5 = a[2][2] * a[3][3] - a[3][2] * a[2][3];
    const double c4 = a[2][1] * a[3][3] - a[3][1] * a[2][3];
    const double c3 = a[2][1] * a[3][2] - a[3][1] * a[2][2];
    const double c2 = a[2][0] * a[3][3] - a[3][0] * a[2][3];
    const double c1 = a[2][0] * a[3][2] - a[3][0] * a[2][2];
    const double c0 = a[2][0] * a[3][1] - a[3][0] * a[2][1];
    return s0 * c5 - s1 * c4 + s2 * c3 + s3 * c2 - s4 * c1 + s5 * c0;
}

std::optional<Matrix3d> Matrix3d::inverse() const {
    // Gauss-Jordan elimination with partial pivoting.
    std::array<std::array<double, 8>, 4> w{};
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) w[i][j] = m_[i][j];
        w[i][4 + i] = 1.0;
    }
    for (int col = 0; col < 4; ++col) {
        int pivot = col;
        for (int r = col + 1; r < 4; ++r)
            if (std::abs(w[r][col]) > std::abs(w[pivot][col])) pivot = r;
        if (std::abs(w[pivot][col]) < 1e-300) return std::nullopt;
        std::swap(w[col], w[pivot]);
        const double inv = 1.0 / w[col][col];
        for (double& v : w[col]) v *= inv;
        for (int r = 0; r < 4; ++r) {
            if (r == col) continue;
            const double f = w[r][col];
            if (f == 0.0) continue;
            for (int j = 0; j < 8; ++j) w[r][j] -= f * w[col][j];
        }
    }
    Matrix3d r;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) r.m_[i][j] = w[i][4 + j];
    return r;
}

bool Matrix3d::isAffine(double tol) const {
    return std::abs(m_[3][0]) <= tol && std::abs(m_[3][1]) <= tol && std::abs(m_[3][2]) <= tol &&
           std::abs(m_[3][3] - 1.0) <= tol;
}

bool Matrix3d::isTranslation(double tol) const {
    if (!isAffine(tol)) return false;
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c)
            if (std::abs(m_[r][c] - (r == c ? 1.0 : 0.0)) > tol) return false;
    return true;
}

double Matrix3d::scaleFactor() const { return apply(Vector3d::xAxis()).length(); }

bool Matrix3d::isUniformScaledOrthogonal(double tol) const {
    if (!isAffine()) return false;
    const Vector3d x = apply(Vector3d::xAxis());
    const Vector3d y = apply(Vector3d::yAxis());
    const Vector3d z = apply(Vector3d::zAxis());
    const double lx = x.length(), ly = y.length(), lz = z.length();
    if (lx <= tol) return false;
    const double rel = tol * lx;
    if (std::abs(lx - ly) > rel || std::abs(lx - lz) > rel) return false;
    const double l2 = lx * lx;
    return std::abs(x.dot(y)) <= tol * l2 && std::abs(y.dot(z)) <= tol * l2 && std::abs(x.dot(z)) <= tol * l2;
}

}  // namespace vela::db

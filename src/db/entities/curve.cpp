#include "db/entities/curve.h"

namespace vela::db {

VELA_DB_DEFINE_CLASS(Curve, "AcDbCurve", "", Entity)

}  // namespace vela::db

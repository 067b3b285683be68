#pragma once

#include "catalogue/command_row.h"

namespace vela::tracking {

// The assistant's commands about what changed in a drawing, each defined beside its body.

extern const catalogue::CommandRow kChangesReport;  // changes_report.cpp
extern const catalogue::CommandRow kEvaluateLisp;   // evaluate_lisp.cpp

}  // namespace vela::tracking

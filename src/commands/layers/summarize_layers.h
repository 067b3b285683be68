#pragma once

#include <QJsonObject>

namespace vela::db {
class Database;
}

namespace vela::commands {

/// The body of _V3_SUMMARIZELAYERS: every live layer in table order with its color (red, green, blue), linetype,
/// lineweight text, transparency, and on, frozen and locked states.
QJsonObject SummarizeLayers(const db::Database* database);

}  // namespace vela::commands

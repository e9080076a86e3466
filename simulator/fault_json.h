// Rules of the fault plan as JSON.
#pragma once

#include <boost/json/object.hpp>

#include "simulator/FaultPlan.h"

namespace simulator {

/// Reads one rule: the fields of `Fault`, with `delayMs` and `dribbleMs` in milliseconds and `ending` as its word.
/// Throws `RequestError` 422 that names a field that is unknown, of another type or out of range. [any thread]
Fault readFault(const boost::json::object& object);

/// Writes a rule as it is read, with `seen` and `hits` added. [any thread]
boost::json::object describeFault(const FaultState& state);

}  // namespace simulator

// Makes fleets up. The same fleet in an empty store is the same to the letter, times included.
#pragma once

#include <boost/json/object.hpp>

#include "simulator/Fleet.h"
#include "simulator/Store.h"

namespace simulator {

/// Reads a fleet from fields with the names of its own. Throws `RequestError` 422 for other fields and for counts that
/// are not whole numbers from 0 to 1000000. [any thread]
Fleet readFleet(const boost::json::object& object);

/// Stores a fleet under new ids: devices first, parts behind them, then the others in the order of the fields. Throws
/// `RequestError` 422 "alarms, events, operations and measurements need one device at least". [one thread at a time]
void makeFleet(Store& store, const Fleet& fleet);

}  // namespace simulator

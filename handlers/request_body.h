// From an event's payload to a request's body, in place.
#pragma once

#include <initializer_list>
#include <vector>

#include "connectivity/Logger.h"
#include "connectivity/hashed_key.h"

namespace com::tallowmere::connectivity::plugins {

using namespace com::tallowmere::connectivity10_15_4;

/// Names of fields, as ready-made owned strings.
using FieldNames = std::vector<hashed_key>;

/// A list of field names.
FieldNames fieldNames(std::initializer_list<const char*> names);

/// The top-level fields that are for the application's own use and never go out; a dot is part of a name.
extern const FieldNames hostOnlyFields;

/// Drops each named field whose value is empty: the empty value, or a string, list, map or buffer of length 0. A 0 or a
/// false stays. Writes a debug line for each: `Removing "NAME" field`. [any thread]
void removeEmptyFields(map_t& body, const FieldNames& fields, const Logger& logger);

/// Drops each named field. [any thread]
void removeFields(map_t& body, const FieldNames& fields);

}  // namespace com::tallowmere::connectivity::plugins

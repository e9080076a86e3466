// Puts documents into the store as they are, past the checks of the resources: under chosen ids, and incomplete ones
// too.
#pragma once

#include <boost/json/object.hpp>
#include <string>

#include "simulator/Store.h"

namespace simulator {

/// Stores what the fields of `documents` hold, each of which may be absent:
///
///   managedObjects, alarms, events, operations, measurements
///                       arrays of documents; one whose `id`, a text, is in the store already takes its place, one
///                       without gets a new id; `creationTime` and `lastUpdated` are `now` unless given
///   tenantOptions, systemOptions
///                       arrays of options with the texts `category` and `key` and any `value`, in place of those there
///   currentUser         an object whose fields stand over those of the current user
///
/// Throws `RequestError` 422 that names the field and the element. [one thread at a time]
void loadDocuments(Store& store, const boost::json::object& documents, const std::string& now);

}  // namespace simulator

// The keys by which requests are ordered in automatic concurrency. They are asked for when a request is sent: its "id"
// has left the payload by then, and so have the fields that an update drops.
#pragma once

#include "codec/DataConstants.h"
#include "connectivity/Message.h"

namespace com::tallowmere::connectivity::plugins {

/// Computes the key of a request, or an empty value for none.
using IdGetter = data_t (*)(const Message& request, const data_t& keyField, const DataConstants& constants);

/// The payload field `keyField`, or the "id" in it if it is a map; empty without the field. Throws std::runtime_error
/// "Element not in map" for a map without "id". [any thread]
data_t getIdFromField(const Message& request, const data_t& keyField, const DataConstants& constants);

/// The payload's "id", or what follows a managed object's fixed path prefix of 26 characters; empty for a shorter path.
/// `keyField` plays no part. [any thread]
data_t getManagedObjectId(const Message& request, const data_t& keyField, const DataConstants& constants);

/// The ordering key of a measurement request: the empty string for a collection, else the "id" of its source, else
/// nothing. Throws std::runtime_error "Element not in map" without a content type, or for a source without "id".
/// [request thread]
data_t getMeasurementKey(const Message& request, const DataConstants& constants);

}  // namespace com::tallowmere::connectivity::plugins

// What was sent through the platform, and stays to be looked at.
#pragma once

#include <boost/json/object.hpp>
#include <string>

#include "simulator/http.h"
#include "simulator/resources/DocumentResource.h"

namespace simulator {

/// Stores `message` under a new `id`, stamped with `creationTime`, and answers 201 with it in the media type of `name`.
/// What a client sends in these two fields is ignored. [server thread]
Answer keepInOutbox(Workplace& workplace, Kind kind, std::string_view name, const boost::json::object& message);

}  // namespace simulator

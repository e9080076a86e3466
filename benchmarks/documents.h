// The documents of the platform that the JSON and codec workloads read and write.
#pragma once

#include <cstddef>
#include <string>

namespace benchmarks {

/// A managed object: 4 levels, 2 arrays of texts, 5 child references, one escaped quote.
std::string managedObjectDocument();
inline constexpr std::size_t managedObjectSize = 1917;

/// One measurement as a page of the platform holds it; `number` makes its id and time.
std::string measurementDocument(int number);
inline constexpr std::size_t measurementDocumentSize = 263;

/// A page of `count` measurements, as text of a JSON array.
std::string measurementPage(int count);

/// The body of a collection request with `count` measurements of 150 bytes.
std::string measurementBody(int count);
inline constexpr std::size_t bodyMeasurementSize = 150;

}  // namespace benchmarks

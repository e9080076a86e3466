// The documents of the platform that the JSON and codec workloads read and write.
#pragma once

#include <cstddef>
#include <string>

namespace benchmarks {

/// A managed object: 4 levels, 2 arrays of texts, 5 child references, one escaped quote.
std::string managedObjectDocument();
inline constexpr std::size_t managedObjectSize = 1917;

/// One measurement as a page of the platform holds it; `number` makes its id and, unless `moment` is 0 or more and
/// does, its time. No two of 86,400 moments give the same text.
std::string measurementDocument(int number, int moment = -1);
inline constexpr std::size_t measurementDocumentSize = 263;

/// A page of `count` measurements, as text of a JSON array.
std::string measurementPage(int count);

/// The body of a collection request with `count` measurements of 150 bytes.
std::string measurementBody(int count);
inline constexpr std::size_t bodyMeasurementSize = 150;

}  // namespace benchmarks

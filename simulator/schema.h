#pragma once

namespace simulator {

/// The text of schema.sql, which makes an empty database the simulator's.
extern const char* const schema;

/// The version that the schema gives to a database. A database of another version is refused.
constexpr int schemaVersion = 4;

}  // namespace simulator

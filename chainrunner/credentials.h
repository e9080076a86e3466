// Credentials from the environment: they never stand in arguments or chain files.
#pragma once

#include <optional>
#include <string>

namespace chainrunner {

/// What the platform knows its user by.
struct Credentials {
  std::string username, password;
};

/// What MARLOVANCE_USERNAME and MARLOVANCE_PASSWORD (or the first line of the file that MARLOVANCE_PASSWORD_FILE names)
/// say; nothing when none of them is set. Throws std::runtime_error when only a part is there, when both forms of the
/// password are, or when the file can't be read. [one thread]
std::optional<Credentials> credentialsFromEnvironment();

/// Credentials for a simulator that only this process uses: the password is random. [any thread]
Credentials freshCredentials();

}  // namespace chainrunner

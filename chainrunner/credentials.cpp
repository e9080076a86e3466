#include "chainrunner/credentials.h"

#include <algorithm>
#include <cstdlib>
#include <random>
#include <stdexcept>

#include "chainrunner/files.h"

namespace chainrunner {

namespace {

std::optional<std::string> variable(const char* name) {
  const char* value = std::getenv(name);
  return value ? std::optional<std::string>(value) : std::nullopt;
}

}  // namespace

std::optional<Credentials> credentialsFromEnvironment() {
  const auto username = variable("MARLOVANCE_USERNAME");
  auto password = variable("MARLOVANCE_PASSWORD");
  if (const auto file = variable("MARLOVANCE_PASSWORD_FILE")) {
    if (password) throw std::runtime_error("MARLOVANCE_PASSWORD and MARLOVANCE_PASSWORD_FILE are both set");
    password = readFile(*file);
    password->erase(std::min(password->find_first_of("\r\n"), password->size()));
  }
  if (!username && !password) return std::nullopt;
  if (!username) throw std::runtime_error("MARLOVANCE_USERNAME is not set");
  if (!password) throw std::runtime_error("neither MARLOVANCE_PASSWORD nor MARLOVANCE_PASSWORD_FILE is set");
  return Credentials{*username, *password};
}

Credentials freshCredentials() {
  static constexpr char digits[] = "0123456789abcdef";
  std::random_device random;
  std::string password;
  for (int i = 0; i < 32; ++i) password += digits[random() % 16];
  return {"fleet", password};
}

}  // namespace chainrunner

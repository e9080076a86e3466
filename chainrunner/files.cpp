#include "chainrunner/files.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace chainrunner {

std::string readFile(const std::string& name) {
  const auto fail = [&] { throw std::runtime_error(name + ": " + std::strerror(errno)); };
  const int file = open(name.c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0) fail();
  std::string content;
  char buffer[16 * 1024];
  ssize_t count = 0;
  while ((count = read(file, buffer, sizeof buffer)) > 0) content.append(buffer, static_cast<std::size_t>(count));
  const int error = errno;
  close(file);
  errno = error;
  if (count < 0) fail();
  return content;
}

}  // namespace chainrunner

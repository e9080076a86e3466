// Plays the files of a folder, by name, through a fuzz target.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

int main(int argumentCount, char** arguments) {
  std::vector<std::filesystem::path> files;
  if (argumentCount == 2)
    for (const auto& entry : std::filesystem::directory_iterator(arguments[1])) files.push_back(entry.path());
  if (files.empty()) {
    std::fprintf(stderr, "usage: %s FOLDER\nthe folder must hold a file\n", arguments[0]);
    return 2;
  }
  std::sort(files.begin(), files.end());
  for (const auto& file : files) {
    std::ifstream in(file, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(in), {}};
    std::printf("%s\n", file.filename().c_str());
    std::fflush(stdout);
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  }
  return 0;
}

#include "devhost/kvclient/misuse.h"

#include <dlfcn.h>

#include <cstdlib>
#include <cstring>

#include "devhost/kvclient/standard_error.h"

namespace devhost {
namespace {

std::string moduleOf(const void* address) {
  Dl_info info;
  if (dladdr(address, &info) == 0 || info.dli_fname == nullptr) return "a module that is not loaded";
  const char* slash = std::strrchr(info.dli_fname, '/');
  return slash == nullptr ? info.dli_fname : slash + 1;
}

}  // namespace

std::string describe(const CallSite& site) {
  return std::string(site.function) + " called from " + moduleOf(site.caller);
}

void reportMisuse(const CallSite& site, const std::string& what) {
  const char* place = site.nested ? " on a value that holds " : " on ";
  abortWith("plug-in misbehaving: " + std::string(site.function) + place + what + ", called from " +
            moduleOf(site.caller));
}

void abortWith(const std::string& line) {
  writeStandardError(line + "\n");
  std::abort();
}

}  // namespace devhost

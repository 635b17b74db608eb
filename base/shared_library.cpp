#include "base/shared_library.h"

#include <dlfcn.h>

#include "base/import_error.h"

namespace importkcd {

SharedLibrary::SharedLibrary(const char* file, std::string_view kind, std::string_view source)
    : kind_(kind), source_(source), handle_(::dlopen(file, RTLD_NOW | RTLD_LOCAL)) {
  if (handle_ == nullptr) {
    fail(::dlerror());
  }
}

void* SharedLibrary::address_of(const char* function) const {
  void* const address = ::dlsym(handle_, function);
  if (address == nullptr) {
    fail(std::string("it lacks ") + function);
  }
  return address;
}

void SharedLibrary::fail(const std::string& reason) const {
  throw ImportError("the " + kind_ + " library cannot be used: " + reason, source_);
}

}  // namespace importkcd

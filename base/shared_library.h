#pragma once

#include <string>
#include <string_view>

namespace importkcd {

/// A library of the system that is loaded when something first needs it: most starts of a program
/// need none of its large libraries, whose loading would be most of their time. It is never
/// unloaded.
class SharedLibrary {
 public:
  /// `file` is the library's name with the number of its interface ("libcurl.so.4"), `kind` what it
  /// is for people ("HTTP"). Throws ImportError of the component `source` when it cannot be loaded.
  SharedLibrary(const char* file, std::string_view kind, std::string_view source);

  /// The address of a function. Throws ImportError when the library has no such function.
  void* address_of(const char* function) const;

 private:
  [[noreturn]] void fail(const std::string& reason) const;

  std::string kind_;
  std::string source_;
  void* handle_;
};

/// A function of such a library, called like the one that its header declares:
///   LibraryFunction<decltype(&curl_version)> version{library, "curl_version"};
template <class Pointer>
class LibraryFunction {
 public:
  /// Throws as SharedLibrary::address_of() does.
  LibraryFunction(const SharedLibrary& library, const char* name)
      : function_(reinterpret_cast<Pointer>(library.address_of(name))) {}

  /// What makes this object callable.
  operator Pointer() const { return function_; }

 private:
  Pointer function_;
};

}  // namespace importkcd

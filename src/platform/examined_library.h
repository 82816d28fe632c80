/// A library that is loaded to be looked at, and what the loader says when it cannot be.
#pragma once

#include <string>

namespace platform {

/// Used by one thread. The library stays loaded until the process ends: nobody knows what it has
/// started.
class ExaminedLibrary {
 public:
  /// `path` as people write it, in UTF-8. The library's start-up code runs here. The libraries that
  /// it needs are looked for in its own folder as well.
  explicit ExaminedLibrary(const std::string& path);

  bool IsLoaded() const { return _loaded != nullptr; }
  /// Why it is not loaded, in the loader's words, with the names of libraries that are missing.
  const std::string& Problem() const { return _problem; }

  /// A function that the library itself exports; null when it has none of that name.
  void* Function(const char* name) const;

 private:
  void* _loaded = nullptr;
  std::string _problem;
};

}  // namespace platform

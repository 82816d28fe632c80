/// A fresh folder that TAGWRIGHT_ROOT names while it lives, so that no test sees the state of
/// another or of the user. It is removed at the end unless TAGWRIGHT_KEEP_TEST_ROOT is set.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>

class TestRoot {
 public:
  TestRoot() {
    std::random_device random;
    _path = std::filesystem::temp_directory_path() /
            ("tagwright-test-" + std::to_string(random()) + std::to_string(random()));
    std::filesystem::create_directories(_path);
    static std::string variable;
    variable = "TAGWRIGHT_ROOT=" + _path.string();
    putenv(variable.data());
  }
  ~TestRoot() {
    std::error_code ignored;
    if (std::getenv("TAGWRIGHT_KEEP_TEST_ROOT") == nullptr) {
      std::filesystem::remove_all(_path, ignored);
    }
  }
  TestRoot(const TestRoot&) = delete;
  TestRoot& operator=(const TestRoot&) = delete;

  const std::filesystem::path& Path() const { return _path; }

 private:
  std::filesystem::path _path;
};

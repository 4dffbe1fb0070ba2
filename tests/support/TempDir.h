// A temporary directory removed with everything in it when the test ends,
// and helpers to write files into it.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace CorvTest {

class TempDir {
 public:
  TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "corvtest-XXXXXX").string();
    char* made = mkdtemp(&pattern[0]);
    if (made == nullptr) std::abort();
    path_ = made;
  }
  ~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::string& Path() const { return path_; }
  std::string File(const std::string& name) const { return path_ + "/" + name; }
  // Writes text to a file in the directory and returns its path.
  std::string Write(const std::string& name, const std::string& text) const {
    std::string file = File(name);
    std::ofstream(file, std::ios::binary) << text;
    return file;
  }

 private:
  std::string path_;
};

}  // namespace CorvTest

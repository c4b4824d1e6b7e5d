#pragma once

#include <filesystem>
#include <string>

namespace zrtest {

// A fresh folder that is gone, with all in it, when the object is.
class TempFolder {
 public:
  TempFolder();
  ~TempFolder();
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const std::filesystem::path& path() const { return m_path; }
  std::string file(const std::string& name) const { return (m_path / name).string(); }
  // Writes a file of the folder, byte for byte, and returns its path.
  std::string write(const std::string& name, const std::string& content) const;

 private:
  std::filesystem::path m_path;
};

std::string readFile(const std::filesystem::path& path);

}  // namespace zrtest

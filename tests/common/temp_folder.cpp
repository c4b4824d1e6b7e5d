#include "common/temp_folder.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace zrtest {

TempFolder::TempFolder() {
  std::string name = (std::filesystem::temp_directory_path() / "zrtest.XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("cannot make a temporary folder");
  m_path = name;
}

TempFolder::~TempFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(m_path, ignored);
}

std::string TempFolder::write(const std::string& name, const std::string& content) const {
  const std::string path = file(name);
  std::ofstream(path, std::ios::binary) << content;
  return path;
}

std::string readFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

}  // namespace zrtest

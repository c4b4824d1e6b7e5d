#include "postfix/guide.h"

#include <stdexcept>

#include "common/temp_folder.h"

namespace zrtest {

std::string guideBlock(const std::string& title) {
  static const std::string guide = readFile(ZR_SOURCE_FOLDER "/docs/postfix.md");
  const std::size_t start = guide.find("\n" + title + "\n");
  const std::size_t end = guide.find("\n```", start + 1);
  if (start == std::string::npos || end == std::string::npos) throw std::runtime_error("no block " + title);
  return guide.substr(start + 1, end - start);
}

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  std::size_t at = text.find(from);
  if (at == std::string::npos) throw std::runtime_error("no " + from + " in: " + text);
  for (; at != std::string::npos; at = text.find(from, at + to.size()))
    text.replace(at, from.size(), to);
  return text;
}

}  // namespace zrtest

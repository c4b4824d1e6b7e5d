#include "config/config_model.h"

#include <cctype>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <random>

namespace zrtest {

namespace {

bool isName(char c) {
  return isalnum(static_cast<unsigned char>(c)) != 0 || (c != '\0' && strchr("_.-", c) != nullptr);
}

struct PlainReader {
  ConfigSections& sections;
  std::string section, name;
  bool continues = false;

  void classify(char* p) {
    p += strspn(p, " \t");
    if (*p == '\0' || *p == '#') return;
    char* end = *p == '[' ? ++p : p;
    while (isName(*end))
      ++end;
    const std::string run(p, end);
    if (p[0] != '\0' && p[-1] == '[' && end != p) {
      if (strchr(p, ']') != nullptr) section = run;
      return;
    }
    if (p[-1] == '[') return;
    end += strspn(end, " \t");
    if (*end != '=' || section.empty()) return;
    ++end;
    end += strspn(end, " \t");
    std::string value = end;
    name = run;
    if (!value.empty() && value.back() == '\\') {
      value.back() = '\n';
      continues = true;
    }
    sections[section][name] = value;
  }

  void continuation(std::string text) {
    continues = !text.empty() && text.back() == '\\';
    if (continues) text.back() = '\n';
    if (!name.empty()) sections[section][name] += text;
  }
};

}  // namespace

bool readConfigPlainly(const std::string& path, ConfigSections& sections) {
  FILE* file = fopen(path.c_str(), "r");
  if (file == nullptr) return false;
  PlainReader reader{sections, "", ""};
  char buffer[1 + 1024] = {};  // the first byte lets classify() look at p[-1]
  char* line = buffer + 1;
  for (bool first = true; fgets(line, 1024, file) != nullptr; first = false) {
    if (first && strncmp(line, "\xEF\xBB\xBF", 3) == 0) memmove(line, line + 3, strlen(line + 3) + 1);
    size_t length = strlen(line);
    if (length > 0 && line[length - 1] == '\n') line[--length] = '\0';
    if (length > 0 && line[length - 1] == '\r') line[--length] = '\0';
    if (reader.continues) {
      reader.continuation(line);
    } else {
      reader.classify(line);
    }
  }
  fclose(file);
  return true;
}

std::string generateConfig(unsigned seed, int lines) {
  static const char* const kParts[] = {
      "[",  "]",   "[main]",     "[a.b-c_D]", "[x] y", "[ main ]",     "[main", "=", " = ",   "\t=\t", "a",
      "b",  "Key", "name = 1",   "my key",    "a = 1", "a = ",         "= v",   "#", " ",     "\t",    "\v",
      "\\", "\\",  "value # no", "\xE4",      "\r",    "\xEF\xBB\xBF", "]]",    "9", "a =\\", "\x7F"};
  static const char* const kEnds[] = {"\n", "\n", "\n", "\n", "\r\n", "\r\r\n", "\\\n", "\\\r\n", "\n\n", "\r", ""};
  std::mt19937 random(seed);
  const auto pick = [&random](const auto& table) { return std::string(table[random() % std::size(table)]); };
  std::string text = random() % 4 == 0 ? "\xEF\xBB\xBF" : "";
  for (int i = 0; i < lines; ++i) {
    for (unsigned parts = random() % 6; parts > 0; --parts)
      text += pick(kParts);
    if (random() % 12 == 0) text += std::string(1000 + random() % 60, "x \\"[random() % 3]);
    if (random() % 20 == 0) text += '\0' + pick(kParts);
    text += pick(kEnds);
  }
  return text;
}

}  // namespace zrtest

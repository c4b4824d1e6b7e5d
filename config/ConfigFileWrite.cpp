#include <cstring>
#include <memory>

#include "config/ConfigFile.h"

namespace {

char* copyNew(const std::string& text) {
  char* copy = new char[text.size() + 1];
  std::memcpy(copy, text.c_str(), text.size() + 1);
  return copy;
}

void append(const std::map<std::string, std::string>& settings, std::string& out) {
  for (const auto& [name, value] : settings) {
    out += name;
    out += '=';
    out += value;
    out += '\n';
  }
}

// Locks the stream once for all that is written.
class StreamLock {
 public:
  explicit StreamLock(FILE* stream) : m_stream(stream) { flockfile(stream); }
  ~StreamLock() { funlockfile(m_stream); }
  StreamLock(const StreamLock&) = delete;
  StreamLock& operator=(const StreamLock&) = delete;

  // As %s writes it: up to a zero byte.
  void write(const char* text) const { fputs_unlocked(text, m_stream); }

 private:
  FILE* m_stream;
};

}  // namespace

void ConfigFile::setparam(const char* section, const char* name, const char* value) {
  if (section == nullptr || name == nullptr || value == nullptr) return;
  m_pImpl->m_sections[section][name] = value;
}

void ConfigFile::unsetparam(const char* section, const char* name) {
  if (section == nullptr || name == nullptr) return;
  m_pImpl->m_sections[section].erase(name);
}

char* ConfigFile::Serialize() {
  std::string text;
  return copyNew(m_pImpl->Serialize(text));
}

char* ConfigFile::SerializeSection(const char* section) {
  std::string text;
  return copyNew(m_pImpl->SerializeSection(section, text));
}

int ConfigFile::dump(const char* filename) {
  return m_pImpl->dump(filename);
}

int ConfigFile::dump() {
  return m_pImpl->dump(m_pImpl->GetFilename());
}

int ConfigFile::dump_to_FILE(FILE* stream) {
  return m_pImpl->dump_to_FILE(stream);
}

std::string& ConfigFileImpl::SerializeSection(const char* section, std::string& out) {
  if (section == nullptr) return out;
  const auto settings = m_sections.find(section);
  if (settings != m_sections.end()) append(settings->second, out);
  return out;
}

std::string& ConfigFileImpl::Serialize(std::string& out) {
  for (const auto& entry : m_sections)
    append(entry.second, out);
  return out;
}

std::string* ConfigFileImpl::SerializeSection(const char* section) {
  auto text = std::make_unique<std::string>();
  SerializeSection(section, *text);
  return text.release();
}

std::string* ConfigFileImpl::Serialize() {
  auto text = std::make_unique<std::string>();
  Serialize(*text);
  return text.release();
}

int ConfigFileImpl::dump(const char* filename) {
  FILE* stream = filename == nullptr ? nullptr : std::fopen(filename, "w");
  if (stream == nullptr) return -1;
  dump_to_FILE(stream);
  std::fclose(stream);
  return 0;
}

int ConfigFileImpl::dump_to_FILE(FILE* stream) {
  if (stream == nullptr) return 0;
  const StreamLock out(stream);
  for (const auto& [section, settings] : m_sections) {
    out.write("[");
    out.write(section.c_str());
    out.write("]\n");
    for (const auto& [name, value] : settings) {
      out.write(name.c_str());
      out.write(" = ");
      out.write(value.c_str());
      out.write("\n");
    }
  }
  return 0;
}

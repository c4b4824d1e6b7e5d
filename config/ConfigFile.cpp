#include "config/ConfigFile.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <strings.h>

ConfigFile::ConfigFile() : m_pImpl(new ConfigFileImpl()) {}

ConfigFile::ConfigFile(const char* filename) : m_pImpl(new ConfigFileImpl(filename)) {}

ConfigFile::~ConfigFile() {
  delete m_pImpl;
}

int ConfigFile::read_config(const char* filename) {
  return m_pImpl->read_config(filename);
}

int ConfigFile::refresh() {
  return m_pImpl->refresh();
}

bool ConfigFile::ok() {
  return m_pImpl->m_ok;
}

const char* ConfigFile::getparam(const char* section, const char* name) {
  return m_pImpl->getparam(section, name);
}

int ConfigFile::getdigitparam(const char* section, const char* name) {
  return m_pImpl->getdigitparam(section, name);
}

const char* ConfigFile::GetFilename() {
  return m_pImpl->GetFilename();
}

char* ConfigFile::ReadWarnMsg(const char* filename) {
  return m_pImpl->ReadWarnMsg(filename);
}

int ConfigFile::strcmpnull(const char* a, const char* b) {
  if (a == nullptr || b == nullptr) return a == b ? 0 : 1;
  return strcasecmp(a, b);
}

const char* ConfigFileImpl::getparam(const char* section, const char* name) {
  if (section == nullptr || name == nullptr) return nullptr;
  const auto settings = m_sections.find(section);
  if (settings == m_sections.end()) return nullptr;
  const auto setting = settings->second.find(name);
  return setting == settings->second.end() ? nullptr : setting->second.c_str();
}

int ConfigFileImpl::getdigitparam(const char* section, const char* name) {
  const char* value = getparam(section, name);
  if (value == nullptr) return 0;
  // long may have 64 bits or 32; where it has 32, strtol has clamped already.
  using Limits = std::numeric_limits<int>;
  return static_cast<int>(std::clamp<long>(std::strtol(value, nullptr, 10), Limits::min(), Limits::max()));
}

const char* ConfigFileImpl::GetFilename() {
  return m_filename.c_str();
}

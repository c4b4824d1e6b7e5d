#pragma once

#include <cstdio>
#include <map>
#include <string>

#include "support/export.h"

class ZR_EXPORT ConfigFileImpl {
 public:
  ConfigFileImpl() = default;
  explicit ConfigFileImpl(const char* filename);
  ConfigFileImpl(const ConfigFileImpl&) = delete;
  ConfigFileImpl& operator=(const ConfigFileImpl&) = delete;

  int read_config(const char* filename);
  int refresh();
  const char* getparam(const char* section, const char* name);
  int getdigitparam(const char* section, const char* name);
  const char* GetFilename();
  char* ReadWarnMsg(const char* filename);
  std::string& SerializeSection(const char* section, std::string& out);
  std::string& Serialize(std::string& out);
  std::string* SerializeSection(const char* section);
  std::string* Serialize();
  int dump(const char* filename);
  int dump_to_FILE(FILE* stream);

  std::map<std::string, std::map<std::string, std::string>> m_sections;
  std::string m_filename;
  bool m_ok = false;
};

class ZR_EXPORT ConfigFile {
 public:
  ConfigFile();
  explicit ConfigFile(const char* filename);
  virtual ~ConfigFile();
  ConfigFile(const ConfigFile&) = delete;
  ConfigFile& operator=(const ConfigFile&) = delete;

  int read_config(const char* filename);
  int refresh();
  bool ok();
  const char* getparam(const char* section, const char* name);
  int getdigitparam(const char* section, const char* name);
  const char* GetFilename();
  char* ReadWarnMsg(const char* filename);
  static int strcmpnull(const char* a, const char* b);

  void setparam(const char* section, const char* name, const char* value);
  void unsetparam(const char* section, const char* name);
  char* Serialize();
  char* SerializeSection(const char* section);
  int dump(const char* filename);
  int dump();
  int dump_to_FILE(FILE* stream);

  ConfigFileImpl* m_pImpl = nullptr;
};

#ifndef ZR_CONFIG_CONFIGFILE_H
#define ZR_CONFIG_CONFIGFILE_H

#include <cstdio>
#include <map>
#include <string>

#include "support/export.h"

// What a ConfigFile holds: the settings, the name of their file, and whether the last read succeeded. ConfigFile
// forwards to it; hosts may also read the members. See ConfigFile for threads and failures; the operations that are
// named as there do what is said there.
class ZR_EXPORT ConfigFileImpl {
 public:
  ConfigFileImpl() = default;
  // Empty, then read_config(filename).
  explicit ConfigFileImpl(const char* filename);
  ConfigFileImpl(const ConfigFileImpl&) = delete;
  ConfigFileImpl& operator=(const ConfigFileImpl&) = delete;

  int read_config(const char* filename);
  int refresh();
  const char* getparam(const char* section, const char* name);
  int getdigitparam(const char* section, const char* name);
  const char* GetFilename();
  char* ReadWarnMsg(const char* filename);

  // Appends to `out` the section's settings as "name=value\n", in ascending byte-wise order of the names: no header, no
  // blanks, nothing escaped. A section that is missing (or null) appends nothing and is not created. Answers `out`.
  std::string& SerializeSection(const char* section, std::string& out);
  // The same for every section, in ascending byte-wise order. The sections cannot be told apart in the text.
  std::string& Serialize(std::string& out);
  // The same texts in a new string of the caller's, freed with delete. Never null.
  std::string* SerializeSection(const char* section);
  std::string* Serialize();

  int dump(const char* filename);
  int dump_to_FILE(FILE* stream);

  // Section name -> setting name -> value. Both levels are ordered byte by byte, so names are case-sensitive. A section
  // may be empty (unsetparam makes such), and so may a setting's name and its value; a value may hold line feeds.
  std::map<std::string, std::map<std::string, std::string>> m_sections;
  // The file last read successfully; empty until then.
  std::string m_filename;
  // True when the last read succeeded.
  bool m_ok = false;
};

// The settings of a sectioned text file of "name = value" lines (docs/config-format.md): read into memory, queried,
// edited, and written out again. Nothing reaches the disk but by dump, which rewrites a file whole.
//
// Threads: no locking. An object is used by one thread at a time; several may query it while none changes it.
// Failures: by return value (0 or -1), null and ok(); nothing is logged. Nothing of its own is thrown, but
// std::bad_alloc passes through: the settings read or changed so far stay, and an object under construction is freed.
// Null arguments: never a crash. An operation answers as for something that is missing, and changes nothing.
class ZR_EXPORT ConfigFile {
 public:
  // No sections, an empty file name, ok() false.
  ConfigFile();
  // Empty, then read_config(filename): ask ok() for its outcome.
  explicit ConfigFile(const char* filename);
  // Frees the settings and with them every text that getparam and GetFilename returned.
  virtual ~ConfigFile();
  ConfigFile(const ConfigFile&) = delete;
  ConfigFile& operator=(const ConfigFile&) = delete;

  // Reads a file and merges its settings into those that are held: a setting in the file replaces the one of its
  // section and name, all others stay. From then on refresh() and dump() mean this file.
  //
  // Returns 0, also for a file with lines that mean nothing (they are dropped in silence) and for one whose reading
  // fails in the middle or at once, as a folder's does: what was read by then counts. Returns -1 when the file
  // cannot be opened; then ok() is false, and settings and file name stay as they were.
  //
  // Which characters may stand in a name depends on the process's locale (isalnum), as it is during the call.
  int read_config(const char* filename);

  // Drops every setting and reads the same file again. Returns as read_config does: -1, with no settings left, when the
  // file cannot be opened or none was ever read.
  int refresh();

  // Whether the last read succeeded.
  bool ok();

  // The value of a setting; section and name are case-sensitive. Null when there is no such setting, an empty text
  // for one that is empty. The text is the object's: it lives until that setting is changed or removed, refresh() is
  // called or the object ends.
  const char* getparam(const char* section, const char* name);

  // The value of a setting as strtol reads it in base 10: white space, a sign, digits up to the first character that is
  // none. 0 when there are no digits, and 0 when there is no such setting. A value beyond 32 bits is 2147483647 or
  // -2147483648.
  int getdigitparam(const char* section, const char* name);

  // The file last read successfully, empty before that; never null. The object's, until the next successful read.
  const char* GetFilename();

  // Reads a whole text file, which has nothing to do with the settings: byte for byte, less a UTF-8 byte-order mark at
  // the start, with a zero byte after it. Returns a new text that the caller frees with delete[], or null when the file
  // cannot be opened, its size is not known or fewer bytes than that come from one read. A file whose size the system
  // gives as 0 (a pipe, a file of /proc) reads as an empty text.
  char* ReadWarnMsg(const char* filename);

  // strcasecmp that takes null: 0 when both are, 1 when one is.
  static int strcmpnull(const char* a, const char* b);

  // Stores a copy of `value`; makes the section and the setting where they are missing. Names and value are taken as
  // they are, also those that a file cannot carry (docs/config-format.md). A null argument: nothing.
  void setparam(const char* section, const char* name, const char* value);

  // Removes a setting. The section stays when it becomes empty, and is made when it is missing: dump then writes its
  // bare header. A null argument: nothing.
  void unsetparam(const char* section, const char* name);

  // Every setting, or those of one section, as "name=value\n" lines without headers, ordered byte-wise by section and
  // name. A new text, never null (empty where there is nothing), that the caller frees with delete[].
  char* Serialize();
  char* SerializeSection(const char* section);

  // Writes the settings as a configuration file: "[section]\n" and "name = value\n" lines, ordered byte-wise, no
  // comments. The file is created, or emptied first. Returns 0, or -1 when it cannot be opened; what happens to the
  // writing after that (a full disk) is not reported. Comments and layout of a file that was read are lost.
  int dump(const char* filename);
  // dump(GetFilename()): -1 when no file was ever read.
  int dump();
  // The same text to an open stream, which is neither flushed nor closed. Always 0; a null stream gets nothing.
  int dump_to_FILE(FILE* stream);

  // Owned; never null.
  ConfigFileImpl* m_pImpl = nullptr;
};

#endif  // ZR_CONFIG_CONFIGFILE_H

#pragma once

#include <string>

#include "host/base/HostError.h"

namespace zrhost {

struct ConfigEditResult {
  bool changed;      // false: the file says so already, and was not touched
  bool created;      // the file was not there
  std::string path;  // the file that was edited: behind a link, its target
};

// Sets or removes one setting of a configuration file and leaves every other byte as it is, comments and layout
// included. Both need only know the format: sections and names may be any.
//
// The new text is written to a temporary file (".zrpolicy-edit." and eight hexadecimal digits) beside the real one, gets its mode
// and owner, and is read back with ConfigFile: it must hold the old settings with just this change. Then it is flushed
// to the disk and renamed, and the folder is flushed. Whatever happens on the way, the file is the old one or the new
// one; a process that is killed may leave its temporary file, which may be deleted. Edits of files of one folder take
// turns by flock on the folder, so none is lost; an edit waits up to 10 s for its turn.
//
// Throw HostError
//   kUsage        the format cannot carry it, the reason is in the text; an overlong line is in the way
//   kInputOutput  the file cannot be read, is no plain file, or cannot be replaced with its mode and owner
// and have then changed nothing, unless the text says that the folder could not be flushed. A hard link elsewhere keeps
// the old text. Extended attributes are not kept.

// Makes the file when it is missing (not its folder).
ConfigEditResult setInConfigFile(const std::string& path, const std::string& section, const std::string& name,
                                 const std::string& value);

// Removes every setting of that name in that section. A missing file is kInputOutput.
ConfigEditResult unsetInConfigFile(const std::string& path, const std::string& section, const std::string& name);

}  // namespace zrhost

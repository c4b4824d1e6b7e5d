#include "host/configfile/ConfigEdit.h"

#include <functional>
#include <utility>

#include "host/base/file_replace.h"
#include "host/base/terminal_text.h"
#include "host/configfile/config_lines.h"
#include "host/configfile/config_sections.h"
#include "host/configfile/config_text_edit.h"

namespace zrhost {

namespace {

// What is to become of a file: of its text, and of what it means.
struct Edit {
  std::function<std::string(const std::string&)> text;
  std::function<void(ConfigSections&)> meaning;
  bool makesFile;
};

void requireMeaning(const std::string& path, const ConfigSections& expected, const std::string& shownPath) {
  if (readConfigSections(path) == expected) return;
  throw HostError(ErrorKind::kUsage, terminalText(shownPath) +
                                         ": this edit would change other settings too (zrpolicy "
                                         "config check shows odd lines); nothing was changed");
}

std::string editedText(const Edit& edit, const std::string& path, const std::string& old) {
  try {
    return edit.text(old);
  } catch (const HostError& error) {
    throw HostError(error.kind(), terminalText(path) + ": " + error.what());
  }
}

ConfigEditResult apply(const std::string& path, const Edit& edit) {
  const std::string target = linkTarget(path);
  const FolderLock lock(target);
  const auto old = plainFile(target);
  if (!old && !edit.makesFile) {
    throw HostError(ErrorKind::kInputOutput, "cannot edit " + terminalText(path) + ": there is no such file");
  }
  const std::string oldText = old ? readConfigText(target) : "";
  const std::string newText = editedText(edit, path, oldText);
  if (old && newText == oldText) return {false, false, target};
  ConfigSections expected = old ? readConfigSections(target) : ConfigSections();
  edit.meaning(expected);

  Replacement file(target, old);
  file.write(newText);
  requireMeaning(file.path(), expected, path);
  file.commit();
  lock.flush();
  return {true, !old, target};
}

}  // namespace

ConfigEditResult setInConfigFile(const std::string& path, const std::string& section, const std::string& name,
                                 const std::string& value) {
  if (const auto fault = settingTextFault(section, name, value)) {
    throw HostError(ErrorKind::kUsage, "cannot set [" + shortened(section) + "] " + shortened(name) + ": " + *fault);
  }
  return apply(path, {[&](const std::string& text) { return withSetting(text, section, name, value); },
                      [&](ConfigSections& sections) { sections[section][name] = value; }, true});
}

ConfigEditResult unsetInConfigFile(const std::string& path, const std::string& section, const std::string& name) {
  return apply(path, {[&](const std::string& text) { return withoutSetting(text, section, name); },
                      [&](ConfigSections& sections) {
                        // A section without settings is none once the file is read.
                        const auto settings = sections.find(section);
                        if (settings == sections.end()) return;
                        settings->second.erase(name);
                        if (settings->second.empty()) sections.erase(settings);
                      },
                      false});
}

}  // namespace zrhost

#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zrhost {

// One setting of a configuration file's text, changed in its place: every other byte stays. Pure text work; whether the
// result means what it should is for the caller to check by reading it back.

// Why the format cannot carry this setting, as a sentence without a full stop; nothing when it can, if its lines are
// short enough. Line feeds are carried as continuations.
std::optional<std::string> settingTextFault(std::string_view section, std::string_view name, std::string_view value);

// The text with the setting. Where there are several of that name, the last one, which holds, is changed; where there
// is none, a line is added: behind a comment that shows the setting (#name = ...), else at the end of its section, else
// with the section at the end of the text. Throws HostError kUsage for a setting whose line would get
// longer than 1,023 bytes, and for one that stands in an overlong line already.
std::string withSetting(std::string_view text, std::string_view section, std::string_view name, std::string_view value);

// The text without any setting of that name.
std::string withoutSetting(std::string_view text, std::string_view section, std::string_view name);

}  // namespace zrhost

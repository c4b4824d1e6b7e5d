#include "host/settings/ConfigCheck.h"

#include <algorithm>
#include <map>
#include <set>
#include <string_view>
#include <utility>

#include "host/configfile/config_lines.h"
#include "host/settings/SettingDefinition.h"

namespace zrhost {

namespace {

class Checker {
 public:
  explicit Checker(std::string_view text) : m_text(text), m_lines(splitConfig(text)) {}

  std::vector<ConfigFinding> check() {
    for (std::size_t i = 0; i < m_lines.size(); ++i) {
      checkBytes(m_lines[i]);
      if (m_lines[i].fault[0] != '\0') find(m_lines[i], sentence(m_lines[i]));
      if (m_lines[i].kind == LineKind::kSetting) checkSetting(i);
    }
    checkRivals();
    std::ranges::stable_sort(m_findings, {}, &ConfigFinding::line);
    return std::move(m_findings);
  }

 private:
  using Place = std::pair<std::string_view, std::string_view>;

  void find(const ConfigLine& line, std::string text) { m_findings.push_back({line.number, std::move(text)}); }

  static std::string sentence(const ConfigLine& line) {
    return line.kind == LineKind::kHeader ? line.fault : std::string("the line is dropped: ") + line.fault;
  }

  void checkBytes(const ConfigLine& line) {
    if (line.startsLine && !line.endsLine) {
      find(line, "the line is longer than 1023 bytes; what is beyond them counts as a line of its own");
    }
    if (m_text.substr(line.begin, line.end - line.begin).find('\0') != std::string_view::npos) {
      find(line, "the line holds a zero byte; the rest of the line is dropped");
    }
  }

  void checkSetting(std::size_t first) {
    const ConfigLine& line = m_lines[first];
    const ConfigEntry entry = entryAt(m_lines, first);
    const std::string name = "[" + std::string(line.section) + "] " + std::string(line.name);
    const auto [place, isNew] = m_seen.try_emplace(Place(line.section, line.name), line.number);
    if (!isNew) {
      find(line, name + " is set again; the value of line " + std::to_string(place->second) + " does not count");
      place->second = line.number;
    }
    checkKnown(line);
    if (m_lines[entry.last].continues) find(m_lines[entry.last], name + " ends in a backslash, but no line follows");
    for (std::size_t i = entry.first; i <= entry.last; ++i)
      checkEndOfValue(m_lines[i], name);
    checkValue(line, entry);
  }

  void checkKnown(const ConfigLine& line) {
    const auto fault = unknownSettingFault(line.section, line.name);
    if (!fault) return;
    // An unknown section is one finding, not one for each of its settings.
    if (isKnownSection(line.section) || m_unknownSections.insert(line.section).second) find(line, *fault);
  }

  void checkEndOfValue(const ConfigLine& line, const std::string& name) {
    const std::size_t begin = line.kind == LineKind::kSetting ? line.valueBegin : line.begin;
    const std::string_view value = m_text.substr(begin, line.textEnd - begin);
    if (value.starts_with('#') || value.find(" #") != std::string_view::npos ||
        value.find("\t#") != std::string_view::npos) {
      find(line, name + " holds the # and what follows it; a comment needs a line of its own");
    }
    if (value.find('\r') != std::string_view::npos) find(line, name + " holds a carriage return");
    if (value.ends_with(' ') || value.ends_with('\t')) find(line, name + " ends in blanks, which count");
  }

  void checkValue(const ConfigLine& line, const ConfigEntry& entry) {
    const SettingDefinition* setting = findSetting(line.section, line.name);
    if (setting == nullptr) return;
    const std::string_view value = m_text.substr(line.valueBegin, line.textEnd - line.valueBegin);
    // No number goes over several lines: the text with its backslash is as wrong as the value.
    Options unused;
    if (const auto fault = setting->store(value, unused)) find(line, *fault);
    m_holds[setting] = setting->isSetBy(value) || entry.first != entry.last ? &line : nullptr;
  }

  // Of two settings that exclude one another the later one is what is wrong.
  void checkRivals() {
    for (const auto& [setting, line] : m_holds) {
      const auto other = m_holds.find(setting->rival());
      if (line == nullptr || other == m_holds.end() || other->second == nullptr) continue;
      if (line->begin < other->second->begin) continue;
      const std::string rival = std::string(setting->notWith) + " (line " + std::to_string(other->second->number) + ")";
      find(*line, bothSetFault(setting->title(), rival));
    }
  }

  const std::string_view m_text;
  const std::vector<ConfigLine> m_lines;
  std::vector<ConfigFinding> m_findings;
  std::map<Place, std::size_t> m_seen;
  std::set<std::string_view> m_unknownSections;
  std::map<const SettingDefinition*, const ConfigLine*> m_holds;  // the line that sets it; null for an empty text
};

}  // namespace

std::vector<ConfigFinding> checkConfigText(const std::string& text) {
  return Checker(text).check();
}

std::vector<ConfigFinding> checkConfigFile(const std::string& path) {
  return checkConfigText(readConfigText(path));
}

}  // namespace zrhost

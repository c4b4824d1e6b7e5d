#include "service/decision_line_internal.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <openssl/hmac.h>

#include "host/base/FileDescriptor.h"
#include "host/base/HostError.h"
#include "host/base/terminal_text.h"
#include "host/mend/name_mend.h"
#include "policy/ZrPolicyCache.h"
#include "service/QuestionRules.h"
#include "service/json_text_internal.h"

namespace zrservice {
namespace {

using nlohmann::ordered_json;
using Kind = DecisionRecord::Kind;
using zrhost::ErrorKind;
using zrhost::HostError;

constexpr std::size_t kLeastKeyBytes = 16, kMostKeyBytes = 4096;
constexpr std::size_t kHashBytes = 16;
constexpr std::array kRedactable = {"user", "group", "host", "address", "other", "recipient"};

const char* wordOf(Kind kind) {
  constexpr std::array kWords = {"user", "group", "host", "address", "other", "default", "all"};
  return kWords[static_cast<std::size_t>(kind)];
}

Kind kindOf(zrlive::EntityType type) {
  constexpr std::array kKinds = {Kind::kDefault, Kind::kUser,    Kind::kGroup, Kind::kHost,
                                 Kind::kAddress, Kind::kAddress, Kind::kOther};
  return kKinds[static_cast<std::size_t>(type)];
}

std::string timeText(const std::timespec& time) {
  std::tm parts{};
  gmtime_r(&time.tv_sec, &parts);
  std::array<char, 40> text{};
  const std::size_t size = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &parts);
  std::snprintf(text.data() + size, text.size() - size, ".%06ldZ", static_cast<long>(time.tv_nsec / 1000));
  return text.data();
}

[[noreturn]] void refuseKey(ErrorKind kind, const std::string& path, const std::string& why) {
  throw HostError(kind, "[service] redact_key_file = \"" + zrhost::shortened(path) + "\": " + why);
}

std::string readKey(const std::string& path) {
  if (path.empty())
    throw HostError(ErrorKind::kUsage, "[service] redact needs a key; name its file with redact_key_file");
  const zrhost::FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  const auto text = file ? file.read(kMostKeyBytes) : std::nullopt;
  if (!text) refuseKey(ErrorKind::kInputOutput, path, std::string("cannot read the key: ") + std::strerror(errno));
  if (text->size() < kLeastKeyBytes) refuseKey(ErrorKind::kUsage, path, "the key has less than 16 bytes");
  return *text;
}

// A link's name may be written with entities, which no question has.
std::string asAsked(std::string_view name) {
  std::string text(name);
  return name.find("&#") == name.npos ? text : ZrPolicyCache().UnescapeLatinHtmlUnicode(text);
}

// Whether a key may have been made of the recipient, whose extension or domain it may lack.
bool isOf(std::string_view recipient, std::string_view key) {
  const std::string_view local = key.substr(0, key.rfind('@'));
  const std::string_view domain = key.substr(local.size());
  return !key.empty() && recipient.starts_with(local) && recipient.substr(local.size()).ends_with(domain);
}

}  // namespace

DecisionLine::DecisionLine(const zrhost::ServiceSection& settings) {
  for (const std::string& what : settings.redact) {
    m_redact.push_back(zrhost::lowered(what));
    if (std::ranges::find(kRedactable, m_redact.back()) == kRedactable.end())
      throw HostError(ErrorKind::kUsage, "[service] redact = \"" + zrhost::shortened(what) +
                                             "\": none of user, group, host, address, other, recipient");
  }
  if (!m_redact.empty()) m_key = readKey(settings.redactKeyFile);
}

bool DecisionLine::isRedacted(std::string_view what) const {
  return std::ranges::find(m_redact, what) != m_redact.end();
}

bool DecisionLine::isRedacted(const DecisionRecord& record, Kind kind, std::string_view key) const {
  if (key.empty()) return false;
  return isRedacted(wordOf(kind)) || (isRedacted("recipient") && kind != Kind::kGroup && kind != Kind::kDefault &&
                                      isOf(zrhost::lowered(knownValue(record.recipient)), zrhost::lowered(key)));
}

std::string DecisionLine::shown(const DecisionRecord& record, Kind kind, std::string_view key) const {
  if (m_redact.empty()) return std::string(key);
  const std::string asked = asAsked(key);
  return isRedacted(record, kind, asked) ? hashed(asked) : std::string(key);
}

// Tells equal names, which have no case, and without the key nothing else.
std::string DecisionLine::hashed(std::string_view text) const {
  const std::string name = zrhost::lowered(text);
  std::array<unsigned char, EVP_MAX_MD_SIZE> hash{};
  unsigned size = 0;
  HMAC(EVP_sha256(), m_key.data(), static_cast<int>(m_key.size()), reinterpret_cast<const unsigned char*>(name.data()),
       name.size(), hash.data(), &size);
  std::string hex = "hmac:";
  for (std::size_t i = 0; i < kHashBytes; ++i) {
    constexpr char kDigits[] = "0123456789abcdef";
    hex += kDigits[hash[i] >> 4U];
    hex += kDigits[hash[i] & 15U];
  }
  return hex;
}

void DecisionLine::append(std::string& out, const DecisionRecord& record) const {
  ordered_json line;
  line["time"] = timeText(record.time);
  line["instance"] = record.instance;
  line["queue_id"] = record.queueId;
  line["protocol_state"] = record.protocolState;
  ordered_json& questions = line["questions"] = ordered_json::array();
  for (const DecisionRecord::Part& part : record.questions)
    questions.push_back({{"type", wordOf(part.kind)}, {"key", shown(record, part.kind, part.key)}});
  line["revision"] = record.revision ? ordered_json(*record.revision) : ordered_json();
  ordered_json& results = line["results"] = ordered_json::array();
  for (const DecisionRecord::Result& result : record.results)
    results.push_back({{"policy_id", result.policyId},
                       {"priority", result.priority},
                       {"entity_type", zrlive::nameOf(result.type)},
                       {"entity_name", shown(record, kindOf(result.type), result.name)}});
  line["action"] = record.action;
  line["microseconds"] = static_cast<double>(record.nanoseconds) / 1000;
  out += jsonText(line);
  out += '\n';
}

}  // namespace zrservice

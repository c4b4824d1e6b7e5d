#include "service/DecisionLog.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <openssl/hmac.h>
#include <strings.h>
#include <unistd.h>

#include "host/base/FileDescriptor.h"
#include "host/base/HostError.h"
#include "host/base/quiet_thread.h"
#include "host/base/terminal_text.h"
#include "service/QuestionRules.h"
#include "support/PolicyLog.h"

namespace zrservice {
namespace {

using nlohmann::ordered_json;
using Kind = zrlive::Question::Kind;
using zrhost::ErrorKind;
using zrhost::HostError;

constexpr const char* kStandardError = "stderr";
constexpr std::size_t kLeastKeyBytes = 16;
constexpr std::array kRedactable = {"user", "group", "host", "address", "other", "recipient"};

const char* wordOf(Kind kind) {
  constexpr std::array kWords = {"user", "group", "host", "ip", "other", "default", "all"};
  return kWords[static_cast<std::size_t>(kind)];
}

const char* wordOf(zrlive::EntityType type) {
  constexpr std::array kWords = {"default", "user", "group", "host", "address", "address", "other"};
  return kWords[static_cast<std::size_t>(type)];
}

std::string nowText() {
  std::timespec now{};
  std::timespec_get(&now, TIME_UTC);
  std::tm parts{};
  gmtime_r(&now.tv_sec, &parts);
  std::array<char, 40> text{};
  const std::size_t size = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &parts);
  std::snprintf(text.data() + size, text.size() - size, ".%06ldZ", now.tv_nsec / 1000);
  return text.data();
}

std::string readKey(const std::string& path) {
  if (path.empty())
    throw HostError(ErrorKind::kUsage, "[service] redact needs a key; name its file with redact_key_file");
  const zrhost::FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  const auto text = file ? file.read(4096) : std::nullopt;
  if (!text)
    throw HostError(ErrorKind::kInputOutput, "cannot read the key file '" + zrhost::terminalText(path) +
                                                 "': " + std::strerror(errno) + "; see redact_key_file");
  if (text->size() < kLeastKeyBytes)
    throw HostError(ErrorKind::kUsage, "the key file '" + zrhost::terminalText(path) + "' holds less than 16 bytes");
  return *text;
}

}  // namespace

std::unique_ptr<DecisionLog> DecisionLog::open(const zrhost::ServiceSection& settings) {
  if (settings.decisionLog.empty()) return nullptr;
  return std::unique_ptr<DecisionLog>(new DecisionLog(settings));
}

void DecisionLog::requireSettings(const zrhost::ServiceSection& settings) {
  for (const std::string& what : settings.redact) {
    if (std::ranges::find(kRedactable, what) == kRedactable.end())
      throw HostError(ErrorKind::kUsage, "[service] redact = \"" + zrhost::shortened(what) +
                                             "\": none of user, group, host, address, other, recipient");
  }
  if (!settings.redact.empty()) (void)readKey(settings.redactKeyFile);
}

DecisionLog::DecisionLog(const zrhost::ServiceSection& settings)
    : m_path(settings.decisionLog), m_sample(settings.sample), m_redact(settings.redact) {
  requireSettings(settings);
  if (!m_redact.empty()) m_key = readKey(settings.redactKeyFile);
  openFile();
  if (m_descriptor < 0)
    throw HostError(ErrorKind::kInputOutput,
                    "cannot open the decision log '" + zrhost::terminalText(m_path) + "': " + std::strerror(errno));
  m_thread = zrhost::quietThread([this] { write(); });
}

DecisionLog::~DecisionLog() {
  {
    const std::lock_guard lock(m_mutex);
    m_end = true;
  }
  m_filled.notify_one();
  m_thread.join();
  if (m_descriptor > STDERR_FILENO) close(m_descriptor);
}

void DecisionLog::openFile() {
  if (m_path == kStandardError) {
    m_descriptor = STDERR_FILENO;
    return;
  }
  const int opened = ::open(m_path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY, 0640);
  if (opened < 0) return;
  if (m_descriptor > STDERR_FILENO) close(m_descriptor);
  m_descriptor = opened;
}

bool DecisionLog::isRedacted(std::string_view what) const {
  return std::ranges::find(m_redact, what) != m_redact.end();
}

// Whether a name may have been made of the recipient: it may be without the extension, without the domain, and in
// another case.
bool DecisionLog::isOfRecipient(std::string_view name, std::string_view recipient) {
  const std::string_view local = name.substr(0, name.find('@'));
  const std::string_view domain = name.substr(local.size());
  return !name.empty() && recipient.size() >= name.size() &&
         strncasecmp(recipient.data(), local.data(), local.size()) == 0 &&
         strncasecmp(recipient.data() + recipient.size() - domain.size(), domain.data(), domain.size()) == 0;
}

// What stands in the log for a user, who may be the mail's recipient.
std::string DecisionLog::shownUser(std::string_view name, const PolicyRequest& request) const {
  const bool isHidden = isRedacted("recipient") && isOfRecipient(name, knownValue(request.value("recipient")));
  return shown(isHidden ? "recipient" : "user", name);
}

// A hash that tells equal names and, without the key, nothing else.
std::string DecisionLog::shown(const char* what, std::string_view text) const {
  if (!isRedacted(what) || text.empty()) return std::string(text);
  std::array<unsigned char, EVP_MAX_MD_SIZE> hash{};
  unsigned size = 0;
  HMAC(EVP_sha256(), m_key.data(), static_cast<int>(m_key.size()), reinterpret_cast<const unsigned char*>(text.data()),
       text.size(), hash.data(), &size);
  std::string hex = "hmac:";
  for (unsigned i = 0; i < 16 && i < size; ++i) {
    constexpr char kDigits[] = "0123456789abcdef";
    hex += kDigits[hash[i] >> 4U];
    hex += kDigits[hash[i] & 15U];
  }
  return hex;
}

std::string DecisionLog::lineOf(const Decision& decision) const {
  ordered_json line;
  line["time"] = nowText();
  line["instance"] = decision.request.value("instance");
  line["queue_id"] = decision.request.value("queue_id");
  line["protocol_state"] = decision.request.value("protocol_state");
  ordered_json& questions = line["questions"] = ordered_json::array();
  for (std::size_t i = 0; i < decision.question.size(); ++i) {
    const Kind kind = decision.question.kind(i);
    const std::string_view key = decision.question.key(i);
    const char* const what = kind == Kind::kAddress ? "address" : wordOf(kind);
    questions.push_back(
        {{"type", wordOf(kind)}, {"key", kind == Kind::kUser ? shownUser(key, decision.request) : shown(what, key)}});
  }
  if (decision.question.members()) line["members"] = true;
  line["revision"] = decision.snapshot != nullptr ? ordered_json(decision.snapshot->revision()) : ordered_json();
  ordered_json& results = line["results"] = ordered_json::array();
  for (const zrlive::Result& result : decision.answer) {
    const bool isUser = result.entityType == zrlive::EntityType::kUser;
    results.push_back({{"policy_id", result.policyId},
                       {"priority", result.priority},
                       {"entity_type", zrlive::nameOf(result.entityType)},
                       {"entity_name", isUser ? shownUser(result.entityName, decision.request)
                                              : shown(wordOf(result.entityType), result.entityName)}});
  }
  line["action"] = decision.action;
  line["microseconds"] = static_cast<double>(decision.taken.count()) / 1000;
  return line.dump(-1, ' ', false, ordered_json::error_handler_t::replace) + '\n';
}

void DecisionLog::note(const Decision& decision) noexcept {
  if (m_seen.fetch_add(1, std::memory_order_relaxed) % static_cast<std::uint64_t>(m_sample) != 0) return;
  try {
    const std::string line = lineOf(decision);
    bool isFirst = false;
    {
      const std::lock_guard lock(m_mutex);
      if (m_waiting.size() + line.size() > kMostWaitingBytes) {
        ++m_dropped;
        return;
      }
      isFirst = m_waiting.empty();
      m_waiting += line;
      ++m_waitingLines;
    }
    if (isFirst) m_filled.notify_one();
  } catch (...) {  // no memory
    ++m_dropped;
  }
}

void DecisionLog::write() {
  std::unique_lock lock(m_mutex);
  for (;;) {
    m_filled.wait(lock, [this] { return m_end || !m_waiting.empty(); });
    if (m_waiting.empty()) return;
    std::string text;
    text.swap(m_waiting);
    const std::uint64_t lines = m_waitingLines;
    m_waitingLines = 0;
    lock.unlock();
    if (m_reopen.exchange(false)) openFile();
    const std::uint64_t droppedBefore = m_dropped;
    writeAll(text);
    if (m_dropped == droppedBefore) m_written += lines;
    lock.lock();
  }
}

// A disk that is full costs what it cannot take, and nobody waits for it.
void DecisionLog::writeAll(const std::string& text) {
  for (std::size_t done = 0; done < text.size();) {
    const ssize_t count = ::write(m_descriptor, text.data() + done, text.size() - done);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) {
      m_dropped +=
          static_cast<std::uint64_t>(std::count(text.begin() + static_cast<std::ptrdiff_t>(done), text.end(), '\n'));
      PolicyLog::log(PolicyLog::LEVEL_WARNING, "cannot write the decision log: %s", std::strerror(errno));
      return;
    }
    done += static_cast<std::size_t>(count);
  }
}

}  // namespace zrservice

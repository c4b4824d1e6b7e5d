#include "service/DecisionLog.h"

#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <thread>
#include <utility>

#include "host/base/HostError.h"
#include "host/base/quiet_thread.h"
#include "host/base/terminal_text.h"
#include "service/decision_line_internal.h"
#include "service/log_file_internal.h"
#include "support/PolicyLog.h"

namespace zrservice {
namespace {

using zrhost::ErrorKind;
using zrhost::HostError;

constexpr std::size_t kMostWaitingBytes = std::size_t{8} << 20U;
constexpr std::chrono::milliseconds kGather{20};
constexpr std::chrono::seconds kPatience{3};

}  // namespace

// What the log and its thread share.
class DecisionLog::Parts {
 public:
  explicit Parts(const zrhost::ServiceSection& settings)
      : sample(static_cast<std::uint64_t>(settings.sample)), m_line(settings), m_file(settings.decisionLog) {
    if (!m_file.open())
      throw HostError(ErrorKind::kInputOutput, "[service] decision_log = \"" + zrhost::shortened(settings.decisionLog) +
                                                   "\": cannot open it: " + std::strerror(errno));
    m_waiting.reserve(kMostWaitingBytes);  // no answer pays for growth; pages come with use
  }

  // Of those that answer.
  void add(const std::string& record);
  void reopen();
  // False when the thread is still at it.
  bool end();

  // Of the thread.
  void write();

  const std::uint64_t sample;
  std::atomic<std::uint64_t> seen{0}, written{0}, dropped{0};
  std::thread thread;

 private:
  void openAnew();
  void writeBatch(std::string_view records, std::uint64_t count) noexcept;
  void writeAll(std::string_view records);
  void writeLines(const std::string& lines, std::uint64_t count);

  const DecisionLine m_line;
  LogFile m_file;
  DecisionRecord m_record;
  std::string m_lines;
  std::uint64_t m_left = 0;  // of the records at hand, without a line that was written or lost
  bool m_hasFailed = false;  // and said so

  std::mutex m_mutex;
  std::condition_variable m_changed;
  std::string m_waiting;  // records
  std::uint64_t m_waitingCount = 0;
  bool m_isReopening = false, m_isEnding = false, m_hasEnded = false;
};

std::unique_ptr<DecisionLog> DecisionLog::open(const zrhost::ServiceSection& settings) {
  if (settings.decisionLog.empty()) return nullptr;
  return std::unique_ptr<DecisionLog>(new DecisionLog(settings));
}

void DecisionLog::requireSettings(const zrhost::ServiceSection& settings) {
  (void)DecisionLine(settings);
}

DecisionLog::DecisionLog(const zrhost::ServiceSection& settings) : m_parts(std::make_shared<Parts>(settings)) {
  m_parts->thread = zrhost::quietThread([parts = m_parts] { parts->write(); });
}

DecisionLog::~DecisionLog() {
  if (m_parts->end()) {
    m_parts->thread.join();
    return;
  }
  m_parts->thread.detach();
  PolicyLog::log(PolicyLog::LEVEL_WARNING, "the decision log takes nothing any more; what waits for it is lost");
}

void DecisionLog::note(const Decision& decision) noexcept {
  if (m_parts->sample > 1 && m_parts->seen.fetch_add(1, std::memory_order_relaxed) % m_parts->sample != 0) return;
  try {
    thread_local std::string record;
    record.clear();
    appendDecision(record, decision);
    m_parts->add(record);
  } catch (...) {  // no memory
    m_parts->dropped.fetch_add(1, std::memory_order_relaxed);
  }
}

void DecisionLog::reopen() {
  m_parts->reopen();
}

std::uint64_t DecisionLog::written() const {
  return m_parts->written.load(std::memory_order_relaxed);
}

std::uint64_t DecisionLog::dropped() const {
  return m_parts->dropped.load(std::memory_order_relaxed);
}

void DecisionLog::Parts::add(const std::string& record) {
  bool isFirst = false;
  {
    const std::lock_guard lock(m_mutex);
    if (m_waiting.size() + record.size() > kMostWaitingBytes) {
      dropped.fetch_add(1, std::memory_order_relaxed);
      return;
    }
    isFirst = m_waiting.empty();
    m_waiting += record;
    ++m_waitingCount;
  }
  if (isFirst) m_changed.notify_one();
}

void DecisionLog::Parts::reopen() {
  {
    const std::lock_guard lock(m_mutex);
    m_isReopening = true;
  }
  m_changed.notify_all();
}

bool DecisionLog::Parts::end() {
  std::unique_lock lock(m_mutex);
  m_isEnding = true;
  m_changed.notify_all();
  return m_changed.wait_for(lock, kPatience, [this] { return m_hasEnded; });
}

// It lets decisions gather for a moment, since whoever wakes it pays for that.
void DecisionLog::Parts::write() {
  std::string records;
  records.reserve(kMostWaitingBytes);
  std::unique_lock lock(m_mutex);
  for (;;) {
    m_changed.wait(lock, [this] { return m_isEnding || m_isReopening || !m_waiting.empty(); });
    m_changed.wait_for(lock, kGather, [this] { return m_isEnding || m_isReopening; });
    if (m_waiting.empty() && !m_isReopening) break;
    const bool isReopening = std::exchange(m_isReopening, false);
    const std::uint64_t count = std::exchange(m_waitingCount, 0);
    records.swap(m_waiting);
    lock.unlock();
    if (isReopening) openAnew();
    writeBatch(records, count);
    records.clear();
    lock.lock();
  }
  m_hasEnded = true;
  m_changed.notify_all();
}

void DecisionLog::Parts::openAnew() {
  if (m_file.open()) return;
  PolicyLog::log(PolicyLog::LEVEL_WARNING, "cannot open the decision log anew, it goes on where it was: %s",
                 std::strerror(errno));
}

void DecisionLog::Parts::writeBatch(std::string_view records, std::uint64_t count) noexcept {
  m_left = count;
  try {
    writeAll(records);
  } catch (...) {  // no memory
    dropped += m_left;
    m_lines.clear();
  }
}

void DecisionLog::Parts::writeAll(std::string_view records) {
  std::uint64_t count = 0;
  while (!records.empty()) {
    takeDecision(records, m_record);
    m_line.append(m_lines, m_record);
    ++count;
    if (m_lines.size() < m_file.chunk() && !records.empty()) continue;
    writeLines(m_lines, std::exchange(count, 0));
    m_lines.clear();
  }
}

// A disk that is full costs what it cannot take, and nobody waits for it.
void DecisionLog::Parts::writeLines(const std::string& lines, std::uint64_t count) {
  const std::uint64_t done = m_file.write(lines);
  m_left -= count;
  written += done;
  dropped += count - done;
  const bool hasFailed = done < count;
  if (hasFailed && !m_hasFailed)
    PolicyLog::log(PolicyLog::LEVEL_WARNING, "cannot write the decision log, lines are lost and counted: %s",
                   std::strerror(errno));
  m_hasFailed = hasFailed;
}

}  // namespace zrservice

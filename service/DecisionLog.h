#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

#include "host/settings/Options.h"
#include "live/Answer.h"
#include "live/Question.h"
#include "live/Snapshot.h"
#include "service/PolicyRequest.h"

namespace zrservice {

// One decision, valid during the call of note() only.
struct Decision {
  const PolicyRequest& request;
  const zrlive::Question& question;
  const zrlive::Answer& answer;
  const zrlive::Snapshot* snapshot;  // null without one
  std::string_view action;           // what was answered, or would have been
  std::chrono::nanoseconds taken;
};

// Writes decisions as one JSON object a line: time, instance, queue_id, protocol_state, questions, revision, results,
// action, microseconds. Writing never delays an answer: lines wait in a queue of a bounded size for a thread of the
// log's own, and what finds it full is dropped and counted.
//
// Threads: note, reopen and the counts by any number at once.
class DecisionLog {
 public:
  // Null when the settings want none. Throws HostError kInputOutput for a file that cannot be opened, or a key file
  // that cannot be read; kUsage for redaction without a key, or of what cannot be redacted.
  static std::unique_ptr<DecisionLog> open(const zrhost::ServiceSection& settings);
  // Throws as open() does, for the settings alone; nothing is opened to be written.
  static void requireSettings(const zrhost::ServiceSection& settings);
  ~DecisionLog();
  DecisionLog(const DecisionLog&) = delete;
  DecisionLog& operator=(const DecisionLog&) = delete;

  void note(const Decision& decision) noexcept;
  // Opens the file of that name anew, before the next line is written. Until that works the old one is written to.
  void reopen() { m_reopen = true; }

  std::uint64_t written() const { return m_written; }
  std::uint64_t dropped() const { return m_dropped; }

 private:
  explicit DecisionLog(const zrhost::ServiceSection& settings);

  static constexpr std::size_t kMostWaitingBytes = std::size_t{8} << 20U;

  std::string lineOf(const Decision& decision) const;
  static bool isOfRecipient(std::string_view name, std::string_view recipient);
  std::string shownUser(std::string_view name, const PolicyRequest& request) const;
  std::string shown(const char* what, std::string_view text) const;
  bool isRedacted(std::string_view what) const;
  void write();
  void writeAll(const std::string& text);
  void openFile();

  const std::string m_path;
  const int m_sample;
  const zrhost::TextList m_redact;
  std::string m_key;
  int m_descriptor = -1;
  std::atomic<std::uint64_t> m_seen{0}, m_written{0}, m_dropped{0};
  std::atomic<bool> m_reopen{false};
  std::mutex m_mutex;
  std::condition_variable m_filled;
  std::string m_waiting;  // whole lines
  std::uint64_t m_waitingLines = 0;
  bool m_end = false;
  std::thread m_thread;
};

}  // namespace zrservice

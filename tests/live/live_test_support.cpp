#include "live/live_test_support.h"

#include <thread>

namespace zrtest {

LiveOptions quick(const zrhost::DatabaseOptions& database, const std::string& stateFolder) {
  using std::chrono::milliseconds;
  LiveOptions options;
  options.databaseFile = database.file;
  options.dataSource = database.dsn;
  options.user = database.user;
  options.sqlDirectory = database.sqlDirectory;
  options.poll = options.firstPause = milliseconds(10);
  options.longestPause = milliseconds(50);
  options.reloadInterval = options.keepInterval = milliseconds(0);
  options.stateFolder = stateFolder;
  options.log = [](zrlive::LogLevel, const std::string&) {};
  return options;
}

bool comesTrue(const std::function<bool()>& condition) {
  for (int attempt = 0; attempt < 12000; ++attempt) {
    if (condition()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return false;
}

void LiveLog::attachTo(LiveOptions& options) {
  options.log = [this](zrlive::LogLevel, const std::string& line) {
    const std::lock_guard lock(m_mutex);
    m_text += line + "\n";
  };
}

bool LiveLog::has(const std::string& part) const {
  return text().find(part) != std::string::npos;
}

std::string LiveLog::text() const {
  const std::lock_guard lock(m_mutex);
  return m_text;
}

std::string actionFor(const LivePolicies& policies, const std::string& user) {
  const auto snapshot = policies.lease();
  if (!snapshot) return "-";
  zrlive::Question question;
  question.addUser(user).addDefault();
  zrlive::Answer answer;
  snapshot->ask(question, answer);
  return answer.empty() ? "none" : std::string(answer[0].action);
}

std::string addPolicy(int id, const std::string& user, const std::string& action) {
  const std::string number = std::to_string(id);
  return "INSERT INTO policy VALUES (" + number + ", 1, 'added', 0); INSERT INTO policy_rule VALUES (" + number +
         ", 1, 1, 247, 'r', 0, '" + action + "'); INSERT INTO ep_link VALUES (" + number + ", 1, '" + user + "', " +
         number + ", 1);";
}

std::string setAction(int id, const std::string& action) {
  return "UPDATE policy_rule SET action = '" + action + "' WHERE policy_id = " + std::to_string(id) + ";";
}

}  // namespace zrtest

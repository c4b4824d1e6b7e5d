#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "bench/policy_load.h"
#include "common/temp_folder.h"
#include "postfix/child_process.h"

namespace zrbench {

// The action of the constant responder, and the length of what the service answers.
inline constexpr char kConstantAction[] = "DUNNO policy 0";

// The attributes of one question of Postfix. What is not told is unknown, as it is for most mail.
struct Envelope {
  std::string login = {}, hostName = "unknown", address = "203.0.113.9";
  std::string action = {};  // that the service has to answer

  std::string request() const;
};

// Questions of every kind that the databases of BenchService have an answer for: one in five each for a user (and its
// group), a host, an address, a range, and the default alone.
std::vector<Envelope> envelopes();
std::vector<Exchange> exchangesWithService(const std::vector<Envelope>& envelopes);
std::vector<Exchange> exchangesWithConstant(const std::vector<Envelope>& envelopes);

// A constant responder as a process; `core`: the processor that it is held on, -1 for any.
std::unique_ptr<zrtest::ChildProcess> startConstant(const std::string& socketPath, const std::string& logPath,
                                                    int threads, int core);

// zrpolicyd as a process, with an SQLite database of so many links of users, groups, hosts and addresses, 5,000 ranges
// and 900 policies; and one that refuses the mail of refused@example.org. Ready when the constructor returns.
class BenchService {
 public:
  BenchService(const std::string& socketPath, std::int64_t links, int core);
  ~BenchService();
  BenchService(const BenchService&) = delete;
  BenchService& operator=(const BenchService&) = delete;

  // Changes a row twice a second from now on, so that the service loads everything anew as often as it may.
  void keepReloading();
  // How many states the service has loaded.
  int generation() const;

 private:
  void makeDatabase(std::int64_t links) const;
  std::string administration(const std::string& path) const;

  zrtest::TempFolder m_folder;
  std::unique_ptr<zrtest::ChildProcess> m_daemon;
  std::jthread m_writer;
};

// Holds the calling thread on a processor.
void holdOn(int core);
// The processors that this process may use.
std::vector<int> processors();

// The value that so large a share does not exceed. Sorts.
double quantile(std::vector<double>& values, double share);

}  // namespace zrbench

// Asks policies that stay current by themselves: which of them apply to this user, best first?
//
//   ask_live DATABASE USER
//
// DATABASE is an SQLite policy database. Prints one line for each policy.

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include "live/LivePolicies.h"

namespace {

void ask(const zrlive::LivePolicies& policies, const char* user) {
  zrlive::Question question;
  question.addUser(user).addDefault().setMembers(true);
  zrlive::Answer answer;
  const auto snapshot = policies.lease();  // for one answer; the next one may come from newer policies
  snapshot->ask(question, answer);
  for (const zrlive::Result& result : answer)
    std::printf("%d\t%s\t%s\n", result.priority, result.policyName.data(), result.action.data());
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc != 3) throw std::invalid_argument("usage: ask_live DATABASE USER");
  zrlive::LivePolicies::setSinkLevel(zrlive::LogLevel::kError);
  zrlive::LiveOptions options;
  options.databaseFile = argv[1];
  zrlive::LivePolicies policies(options);
  policies.start();  // a mail server does this once, and asks for as long as it runs, in any number of threads
  if (!policies.waitForSnapshot(std::chrono::seconds(10))) throw std::runtime_error(policies.status().lastError);
  ask(policies, argv[2]);
  return EXIT_SUCCESS;
} catch (const std::exception& error) {
  std::fprintf(stderr, "ask_live: %s\n", error.what());
  return EXIT_FAILURE;
}

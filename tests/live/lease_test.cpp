#include <atomic>
#include <memory>
#include <thread>

#include "host/given_rows.h"
#include "live/lease_slots_internal.h"
#include "live/live_test_support.h"
#include "live/snapshot_maker_internal.h"

namespace zrtest {
namespace {

std::shared_ptr<const zrhost::Snapshot> oneAction(const std::string& action) {
  GivenRows rows;
  rows.policies = {{"1", "1", "p", "1"}};
  rows.rules = {{"1", "1", "1", "247", "r", "0", action}};
  zrhost::LoadOptions how;
  how.logs = false;
  return zrhost::Snapshot::load(rows, how);
}

std::unique_ptr<const zrlive::Snapshot> lent(std::shared_ptr<const zrhost::Snapshot> loaded) {
  return zrlive::SnapshotMaker::make(std::move(loaded), {LiveSource::kDatabase, "e", 1, {}});
}

TEST(Lease, OutlivesItsSnapshotsTimeAndLeavesTheFreeingToTheLoadersSide) {
  zrlive::LeaseSlots slots;
  EXPECT_EQ(slots.lease(), nullptr);
  auto loaded = oneAction("first");
  const std::weak_ptr<const zrhost::Snapshot> first = loaded;
  slots.publish(lent(std::move(loaded)));
  auto held = slots.lease();
  slots.publish(lent(oneAction("second")));
  slots.drainer()();
  EXPECT_FALSE(first.expired()) << "it is held";
  std::thread([&held] { held.reset(); }).join();
  EXPECT_FALSE(first.expired()) << "the last holder does not free it";
  slots.drainer()();
  EXPECT_TRUE(first.expired());
}

TEST(Lease, ThatOutlivesEverythingFreesItsSnapshotItself) {
  auto loaded = oneAction("first");
  const std::weak_ptr<const zrhost::Snapshot> first = loaded;
  std::shared_ptr<const zrlive::Snapshot> held;
  {
    zrlive::LeaseSlots slots;
    slots.publish(lent(std::move(loaded)));
    held = slots.lease();
  }
  EXPECT_FALSE(first.expired());
  held.reset();
  EXPECT_TRUE(first.expired());
}

TEST(Lease, IsTakenByManyThreadsWhileSnapshotsComeAndGo) {
  zrlive::LeaseSlots slots;
  slots.publish(lent(oneAction("0")));
  std::atomic<bool> isRunning{true};
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  for (int number = 0; number < 6; ++number) {
    threads.emplace_back([&] {
      zrlive::Question question;
      question.addUser("john").addDefault();
      zrlive::Answer answer;
      int last = 0;
      while (isRunning) {
        const auto snapshot = slots.lease();
        snapshot->ask(question, answer);
        const int seen = answer.size() == 1 ? std::stoi(std::string(answer[0].action)) : -1;
        if (seen < last) ++wrong;
        last = seen;
      }
    });
  }
  std::vector<std::weak_ptr<const zrhost::Snapshot>> loaded;
  for (int round = 1; round <= 300; ++round) {
    auto next = oneAction(std::to_string(round));
    loaded.push_back(next);
    slots.publish(lent(std::move(next)));
    slots.drainer()();
  }
  isRunning = false;
  for (std::thread& thread : threads)
    thread.join();
  slots.drainer()();
  EXPECT_EQ(wrong, 0) << "a snapshot that was gone, or one after a newer one";
  const auto alive = std::count_if(loaded.begin(), loaded.end(), [](const auto& each) { return !each.expired(); });
  EXPECT_EQ(alive, 1);
}

class LiveThreads : public LiveTest {};
INSTANTIATE_TEST_SUITE_P(, LiveThreads, testing::Values("SQLite", "PostgreSQL"),
                         [](const auto& info) { return info.param; });

// Both policies of a user always have the same action in the database; no answer ever mixes two states.
TEST_P(LiveThreads, AskWholeStatesWhilePoliciesAreChangedReloadedAndKept) {
  TempFolder state;
  place->run(addPolicy(500, "both@example.org", "0") + addPolicy(501, "both@example.org", "0"));
  LivePolicies policies(quick(place->options(), state.path().string()));
  policies.start();
  ASSERT_TRUE(policies.waitForSnapshot(std::chrono::minutes(1)));
  std::atomic<bool> isRunning{true};
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  for (int number = 0; number < 4; ++number) {
    threads.emplace_back([&] {
      zrlive::Question question;
      question.addUser("both@example.org");
      zrlive::Answer answer;
      while (isRunning) {
        const auto snapshot = policies.lease();
        snapshot->ask(question, answer);
        if (answer.size() != 2 || answer[0].action != answer[1].action) ++wrong;
        if (policies.status().counts.policies != 24 || policies.state() != LiveState::kReady) ++wrong;
      }
    });
  }
  for (int round = 1; round <= 10; ++round) {
    const std::string action = std::to_string(round);
    place->run("BEGIN;" + setAction(500, action) + setAction(501, action) + "COMMIT;");
    policies.reload(false, std::chrono::minutes(round % 3));
  }
  EXPECT_TRUE(comesTrue([&] { return actionFor(policies, "both@example.org") == "10"; }));
  isRunning = false;
  for (std::thread& thread : threads)
    thread.join();
  policies.stop();
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(policies.status().keptRevision, policies.lease()->revision()) << "what was not kept yet is kept at the end";
}

}  // namespace
}  // namespace zrtest

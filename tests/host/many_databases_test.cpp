#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <thread>

#include "common/fake_server.h"
#include "host/host_test_support.h"

using testing::HasSubstr;
using testing::Not;
using zrhost::PolicyDatabase;

namespace zrtest {
namespace {

std::vector<std::string> textsOfOpenFiles() {
  std::vector<std::string> texts;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    if (std::filesystem::is_regular_file(entry.path())) texts.push_back(readFile(entry.path()));
  }
  return texts;
}

TEST(ManyDatabases, AreMadeAndReadInManyThreadsAtOnce) {
  const std::unique_ptr<Place> places[] = {makeSqlitePlace(), makePostgresPlace(), makeSqlitePlace()};
  for (std::size_t i = 0; i < std::size(places); ++i) {
    PolicyDatabase::init(places[i]->options(), {});
    for (std::size_t change = 0; change < i; ++change)
      places[i]->run("INSERT INTO policy VALUES (" + std::to_string(change) + ", 1, 'p', 0)");
  }
  PolicyDatabase kept(places[1]->options());
  const std::string variable = std::getenv("ODBCINI");
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  for (int number = 0; number < 8; ++number) {
    threads.emplace_back([&, number] {
      for (std::size_t round = 0; round < 6; ++round) {
        const std::size_t i = (round + static_cast<std::size_t>(number)) % std::size(places);
        PolicyDatabase first(places[i]->options()), second(places[0]->options());
        const bool right = first.revision().revision == static_cast<int>(i) && second.revision().revision == 0;
        if (!right) ++wrong;
      }
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(kept.revision().revision, 1);
  EXPECT_EQ(std::getenv("ODBCINI"), variable) << "a thread may have been reading it";
}

// The driver waits for a server that has let it in without a limit: nobody else may have to.
TEST(ManyDatabases, ServerThatFallsSilentBehindTheLoginKeepsNobodyElseWaiting) {
  const auto place = makePostgresPlace();
  PolicyDatabase::init(place->options(), {});
  auto server = std::make_unique<FakeServer>(FakeServer::kLetIn);
  OdbcEntries entries;
  entries.addPostgres("fallsSilent", server->socketFolder(), "postgres");
  entries.addPostgres("goesOn", PostgresServer::shared().socketFolder(), place->options().dsn);
  auto silent = place->options(), watched = silent;
  silent.dsn = "fallsSilent";
  std::thread waiting([&] { EXPECT_ANY_THROW(PolicyDatabase{silent}); });
  while (server->answered() == 0)
    std::this_thread::yield();
  watched.dsn = "goesOn";
  watched.readTimeout = 1;
  watched.connectTimeout = 1;
  watched.onSilence = [](const std::string& text) {
    ADD_FAILURE() << text;
    std::abort();
  };
  EXPECT_EQ(failureOf([&] { PolicyDatabase(watched).revision(); }).text, "");
  server.reset();
  waiting.join();
}

TEST(ManyDatabases, PasswordsOfDataSourcesStayWhereTheyAre) {
  const auto place = makePostgresPlace();
  PolicyDatabase::init(place->options(), {});
  place->run("CREATE ROLE keeper LOGIN SUPERUSER PASSWORD 'kept-secret'");
  OdbcEntries entries;
  entries.addPostgres("own", PostgresServer::shared().socketFolder(), place->options().dsn, "PostgreSQL Unicode",
                      "Username=keeper\nPassword=kept-secret\n");
  auto options = place->options();
  options.dsn = "own";
  options.user.clear();
  PolicyDatabase database(options);
  EXPECT_EQ(database.revision().revision, 0);
  for (const std::string& text : textsOfOpenFiles())
    EXPECT_THAT(text, Not(HasSubstr("kept-secret")));
}

}  // namespace
}  // namespace zrtest

#include <filesystem>
#include <gmock/gmock.h>
#include <memory>
#include <unistd.h>

#include "host/host_test_support.h"

using testing::HasSubstr;
using zrhost::LoadReport;
using zrhost::PolicyDatabase;
namespace fs = std::filesystem;

namespace zrtest {
namespace {

// The administrator's tests go on as somebody who owns nothing; other users cannot write to what they have closed.
class Unprivileged {
 public:
  Unprivileged() { become(65534); }
  ~Unprivileged() { become(0); }
  Unprivileged(const Unprivileged&) = delete;
  Unprivileged& operator=(const Unprivileged&) = delete;

 private:
  void become(uid_t user) {
    if (m_isRoot && seteuid(user) != 0) ADD_FAILURE() << "cannot become another user";
  }
  const bool m_isRoot = geteuid() == 0;
};

class ReadOnlyFile : public testing::Test {
 protected:
  ReadOnlyFile() {
    keepOdbcDriversLoaded();
    fs::copy(ZR_TEST_SCHEMA, m_folder.file("sql"), fs::copy_options::recursive);
    options.sqlDirectory = m_folder.file("sql");
    fs::create_directory(m_folder.file("data"));
    options.file = m_folder.file("data/policy.db");
    PolicyDatabase::init(options, {true, false});
    setWritable(false);
  }
  ~ReadOnlyFile() override { setWritable(true); }

  void setWritable(bool is) {
    fs::permissions(m_folder.path(), fs::perms(0755));
    fs::permissions(m_folder.file("data"), fs::perms(is ? 0755 : 0555));
    fs::permissions(options.file, fs::perms(is ? 0644 : 0444));
  }
  // A file beside the database's, as a writer's process leaves it.
  void leave(const std::string& suffix, const std::string& content) {
    setWritable(true);
    m_folder.write("data/policy.db" + suffix, content);
    setWritable(false);
  }

  const TempFolder m_folder;
  zrhost::DatabaseOptions options;
};

TEST_F(ReadOnlyFile, IsReadWhenItsLogIsEmptyAndElseSaysWhatItsWriterCanDo) {
  const struct {
    const char* suffix;
    std::string content;
    const char* text;  // null when it is read
  } cases[] = {
      {"-wal", "", nullptr},
      {"-wal", "left behind", "PRAGMA wal_checkpoint(TRUNCATE)"},
      {"-wal", "", nullptr},
      {"-journal", "left behind", "let a writer open the database once"},
  };
  for (const auto& c : cases) {
    leave(c.suffix, c.content);
    const Unprivileged nobody;
    LoadReport report;
    const Failure failure = failureOf([&] {
      PolicyDatabase database(options);
      report = zrhost::Snapshot::load(database)->report();
    });
    EXPECT_EQ(report.policies, c.text == nullptr ? 22u : 0u) << failure.text;
    if (c.text != nullptr) {
      EXPECT_THAT(failure.text, HasSubstr(c.text));
    }
  }
}

TEST_F(ReadOnlyFile, IsNotTrustedOnceAWriterHasCome) {
  auto nobody = std::make_unique<Unprivileged>();
  PolicyDatabase database(options);
  const auto before = database.revision();
  nobody.reset();
  fs::last_write_time(options.file, fs::file_time_type::clock::now());
  nobody = std::make_unique<Unprivileged>();
  const Failure failure = failureOf([&] { database.revision(); });
  EXPECT_EQ(failure.kind, ErrorKind::kUnreachable);
  EXPECT_THAT(failure.text, HasSubstr("was written to while it was read"));
  EXPECT_EQ(PolicyDatabase(options).revision(), before);
}

}  // namespace
}  // namespace zrtest

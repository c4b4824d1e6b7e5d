#include "live/last_good_file_internal.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "host/base/terminal_text.h"
#include "host/database/PolicyDatabase.h"
#include "host/database/PolicyWriter.h"
#include "live/heard_sink_internal.h"
#include "live/kept_rows_internal.h"
#include "live/row_sum_internal.h"

namespace zrlive {
namespace {

using zrhost::ErrorKind;
using zrhost::FileDescriptor;
using zrhost::HostError;

constexpr const char* kNewDatabase = "/.last_good-new.db";
constexpr const char* kNewState = "/.last_good-new.state";
constexpr const char* kState = "/last_good.state";
constexpr std::size_t kMostStateBytes = 1 << 20;

[[noreturn]] void fail(const std::string& what, const std::string& path, const std::string& why) {
  throw HostError(ErrorKind::kInputOutput, zrhost::oneLine(what + " '" + path + "': " + why));
}

[[noreturn]] void fail(const std::string& what, const std::string& path) {
  fail(what, path, std::strerror(errno));
}

FileDescriptor lockedFolder(const std::string& folder) {
  FileDescriptor lock(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!lock) fail("cannot use the state folder", folder);
  if (faccessat(AT_FDCWD, folder.c_str(), R_OK | W_OK | X_OK, AT_EACCESS) != 0) {
    fail("cannot use the state folder", folder);
  }
  if (flock(lock.get(), LOCK_EX | LOCK_NB) == 0) return lock;
  if (errno != EWOULDBLOCK) fail("cannot lock the state folder", folder);
  fail("cannot use the state folder", folder, "another process uses it; give each one of its own");
}

std::string contentOf(const std::string& path) {
  const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  return file ? file.read(kMostStateBytes).value_or("") : std::string();
}

void writeFile(const std::string& path, const std::string& text) {
  FileDescriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
  if (!file) fail("cannot write", path);
  for (std::size_t done = 0; done < text.size();) {
    const ssize_t count = write(file.get(), text.data() + done, text.size() - done);
    if (count < 0) fail("cannot write", path);
    done += static_cast<std::size_t>(count);
  }
  if (fsync(file.get()) != 0 || !file.close()) fail("cannot write", path);
}

void makeEmptyFile(const std::string& path) {
  const FileDescriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
  if (!file) fail("cannot make", path);
}

// Only while nobody in this process has the database open: closing it gives up the locks of all.
void flushDatabase(const std::string& path) {
  struct stat log {};
  if (stat((path + "-wal").c_str(), &log) == 0 && log.st_size > 0)
    fail("cannot write", path, "its log was not emptied");
  const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file || fsync(file.get()) != 0) fail("cannot write", path);
}

zrhost::DatabaseOptions optionsOf(const std::string& path, const std::string& sqlDirectory) {
  zrhost::DatabaseOptions options;
  options.file = path;
  options.sqlDirectory = sqlDirectory;
  return options;
}

// Hands rows to a writer, with numbers of their own.
class StageSink : public zrhost::RowSink {
 public:
  explicit StageSink(zrhost::PolicyWriter& writer) : m_writer(writer) {}
  void onRevision(const zrhost::Revision&) override {}
  void onPolicy(zrhost::PolicyRow& row) override { m_writer.stage(++m_number, row); }
  void onRule(zrhost::RuleRow& row) override { m_writer.stage(++m_number, row); }
  void onLink(zrhost::LinkRow& row) override { m_writer.stage(++m_number, row); }
  void onMember(zrhost::MemberRow& row) override { m_writer.stage(++m_number, row); }

 private:
  zrhost::PolicyWriter& m_writer;
  std::uint64_t m_number = 0;
};

// A database whose rows are summed up while they are read.
class SummedSource : public zrhost::RowSource {
 public:
  SummedSource(zrhost::RowSource& source, Pulse& pulse) : m_source(source), m_pulse(pulse) {}
  zrhost::Revision read(zrhost::RowSink& sink) override {
    HeardSink heard(sink, m_pulse);
    RowSum sum(&heard);
    zrhost::Revision revision = m_source.read(sum);
    m_sum = sum.text();
    return revision;
  }
  const std::string& sum() const { return m_sum; }

 private:
  zrhost::RowSource& m_source;
  Pulse& m_pulse;
  std::string m_sum;
};

}  // namespace

LastGoodFile::LastGoodFile(std::string folder, std::string sqlDirectory)
    : m_folder(std::move(folder)), m_sqlDirectory(std::move(sqlDirectory)), m_lock(lockedFolder(m_folder)) {
  removeDatabase(m_folder + kNewDatabase, true);
  unlink((m_folder + kNewState).c_str());
  m_states = parseStates(contentOf(m_folder + kState));
}

bool LastGoodFile::hasDatabase() const {
  return access(database().c_str(), F_OK) == 0;
}

std::shared_ptr<const zrhost::Snapshot> LastGoodFile::load(LastGoodState& state, Pulse& pulse) {
  if (m_states.empty()) {
    throw HostError(ErrorKind::kNotPolicyDatabase,
                    zrhost::oneLine("the last good state in '" + database() + "' is not used: '" + m_folder + kState +
                                    "', which says what it is, is missing or damaged, or cannot be read"));
  }
  KeptRows rows(database());
  SummedSource source(rows, pulse);
  zrhost::LoadOptions how;
  how.logs = false;
  how.indexLinks = true;
  auto snapshot = zrhost::Snapshot::load(source, how);
  const auto found = std::find_if(m_states.begin(), m_states.end(),
                                  [&source](const LastGoodState& each) { return each.rows == source.sum(); });
  if (found == m_states.end()) {
    throw HostError(ErrorKind::kNotPolicyDatabase,
                    zrhost::oneLine("the last good state in '" + database() +
                                    "' is not used: its rows do not have the checksum that was written with them"));
  }
  state = *found;
  return snapshot;
}

void LastGoodFile::replace(RowSpool& rows, LastGoodState state, Pulse& pulse) {
  const std::string fresh = m_folder + kNewDatabase;
  removeDatabase(fresh, true);
  makeEmptyFile(fresh);
  state.rows = fill(fresh, rows, pulse);
  flushDatabase(fresh);
  std::vector<LastGoodState> both = m_states;
  both.insert(both.begin(), state);
  writeStates(both);
  removeDatabase(database(), false);
  if (std::rename(fresh.c_str(), database().c_str()) != 0) fail("cannot replace", database());
  flushFolder();
  m_states = {std::move(state)};
  writeStates(m_states);
}

void LastGoodFile::confirm(std::chrono::system_clock::time_point when) {
  if (m_states.size() != 1) return;
  m_states.front().confirmed = when;
  writeStates(m_states);
}

// Answers the checksum of the rows.
std::string LastGoodFile::fill(const std::string& database, RowSpool& rows, Pulse& pulse) const {
  const zrhost::DatabaseOptions options = optionsOf(database, m_sqlDirectory);
  zrhost::PolicyDatabase::init(options, {});
  zrhost::PolicyWriter writer(options);
  StageSink stage(writer);
  HeardSink heard(stage, pulse);
  RowSum sum(&heard);
  rows.giveTo(sum);
  writer.apply(zrhost::WriteMode::kReplace);
  pulse.beat();
  writer.commit();
  return sum.text();
}

void LastGoodFile::writeStates(const std::vector<LastGoodState>& states) const {
  const std::string fresh = m_folder + kNewState, path = m_folder + kState;
  writeFile(fresh, textOf(states));
  if (std::rename(fresh.c_str(), path.c_str()) != 0) fail("cannot replace", path);
  flushFolder();
}

// A log or journal that was left behind would be played into the next database of the name.
void LastGoodFile::removeDatabase(const std::string& path, bool withFile) const {
  for (const char* suffix : {"-wal", "-shm", "-journal", ""}) {
    if (*suffix == '\0' && !withFile) continue;
    const std::string file = path + suffix;
    if (unlink(file.c_str()) != 0 && errno != ENOENT) fail("cannot remove", file);
  }
}

void LastGoodFile::flushFolder() const {
  // Some file systems cannot flush a folder, and need not.
  if (fsync(m_lock.get()) != 0 && errno != EINVAL) fail("cannot flush the state folder", m_folder);
}

}  // namespace zrlive

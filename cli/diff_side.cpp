#include "cli/diff_side.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <string_view>
#include <sys/stat.h>
#include <utility>

#include "cli/database_access.h"
#include "cli/standard_streams.h"
#include "host/base/terminal_text.h"
#include "host/policyfile/PolicyFileSource.h"

namespace zrcli {

namespace {

constexpr std::string_view kDataSource = "dsn:";
constexpr std::string_view kStandardInput = "-";

template <class Action>
auto named(const std::string& side, Action action) {
  try {
    return action();
  } catch (const zrhost::HostError& error) {
    throw zrhost::HostError(error.kind(), side + ": " + error.what());
  }
}

// Whether a file begins as SQLite's do. What cannot be opened is left to whoever reads it, and says why.
bool isDatabase(const std::string& path) {
  constexpr std::string_view kMagic("SQLite format 3\0", 16);
  if (path == kStandardInput) return false;
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) {
    const auto kind = errno == ENOENT ? zrhost::ErrorKind::kNoInput : zrhost::ErrorKind::kInputOutput;
    throw zrhost::HostError(kind, std::string("cannot read it: ") + std::strerror(errno));
  }
  if (!S_ISREG(status.st_mode)) return false;
  std::array<char, kMagic.size()> start{};
  std::ifstream file(path, std::ios::binary);
  file.read(start.data(), start.size());
  return file.gcount() == static_cast<std::streamsize>(start.size()) &&
         std::string_view(start.data(), start.size()) == kMagic;
}

}  // namespace

// One of them is there.
struct ComparedSide::Sources {
  std::unique_ptr<zrhost::PolicyDatabase> database;
  std::unique_ptr<zrhost::PolicyFileSource> file;

  zrhost::RowSource& source() {
    if (database) return *database;
    return *file;
  }
};

ComparedSide::ComparedSide(const char* letter, const std::string& place, const CommandContext& context)
    : m_name(std::string(letter) + " ('" + zrhost::terminalText(place) + "')"), m_sources(std::make_shared<Sources>()) {
  named(m_name, [&] {
    if (place.starts_with(kDataSource)) {
      m_sources->database = std::make_unique<zrhost::PolicyDatabase>(
          databaseOptions(context, {.file = "", .dsn = place.substr(kDataSource.size())}));
    } else if (isDatabase(place)) {
      m_sources->database =
          std::make_unique<zrhost::PolicyDatabase>(databaseOptions(context, {.file = place, .dsn = ""}));
    } else {
      m_sources->file = std::make_unique<zrhost::PolicyFileSource>(place);
    }
  });
}

zrhost::DiffSide ComparedSide::rows() {
  const auto read = [sources = m_sources](zrhost::RowSink& sink) {
    sources->database ? sources->database->readByKey(sink) : sources->file->readByKey(sink);
  };
  return {m_name, read, m_sources->file ? &m_sources->file->place() : nullptr};
}

std::shared_ptr<const zrhost::Snapshot> ComparedSide::load(bool strict) {
  return named(m_name, [&] {
    RefusalWarning warning(m_name + ": ");
    auto snapshot = zrhost::Snapshot::load(m_sources->source(), {.strict = strict, .onRefused = warning.note()});
    warning.show(snapshot->report());
    return snapshot;
  });
}

}  // namespace zrcli

#include "host/policyfile/csv_folder_internal.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

#include "host/base/HostError.h"
#include "host/base/terminal_text.h"

namespace zrhost {
namespace {

// Answers whether it was not there before.
bool makeFolder(const std::string& path) {
  if (mkdir(path.c_str(), 0777) == 0) return true;
  const int fault = errno;
  std::error_code unknown;
  if (fault == EEXIST && std::filesystem::is_directory(path, unknown)) return false;
  throw HostError(ErrorKind::kInputOutput,
                  "cannot make the folder " + terminalText(path) + ": " +
                      (fault == EEXIST ? "something else has that name" : std::strerror(fault)));
}

}  // namespace

CsvFolder::CsvFolder(const std::string& path) : m_path(path), m_isMade(makeFolder(path)) {
  try {
    open();
  } catch (...) {  // no destructor runs for what is not complete
    m_files.clear();
    if (m_isMade) rmdir(m_path.c_str());
    throw;
  }
}

void CsvFolder::open() {
  for (std::size_t i = 0; i < kPolicyTables; ++i) {
    m_files.emplace_back((std::filesystem::path(m_path) / formatOf(static_cast<PolicyTable>(i)).csvFile).string());
  }
}

CsvFolder::~CsvFolder() {
  m_files.clear();
  if (m_isMade) rmdir(m_path.c_str());
}

void CsvFolder::commit() {
  for (OutputFile& file : m_files)
    file.flush();
  const FolderLock lock(m_path + "/");
  m_isMade = false;
  for (OutputFile& file : m_files)
    file.rename();
  lock.flush();
}

}  // namespace zrhost

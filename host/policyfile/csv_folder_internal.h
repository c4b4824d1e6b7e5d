#pragma once

#include <deque>
#include <string>

#include "host/policyfile/output_file_internal.h"
#include "host/rows/PolicyTable.h"

namespace zrhost {

// The folder that holds the four files of CSV, made when it is missing. Throws HostError kInputOutput.
class CsvFolder {
 public:
  explicit CsvFolder(const std::string& path);
  // A folder that was made here goes again, unless it was committed.
  ~CsvFolder();
  CsvFolder(const CsvFolder&) = delete;
  CsvFolder& operator=(const CsvFolder&) = delete;

  OutputFile& file(PolicyTable table) { return m_files[static_cast<std::size_t>(table)]; }
  // All four to the disk, then each into its place, with the folder locked so that two writers cannot mix their files.
  void commit();

 private:
  void open();

  std::string m_path;
  bool m_isMade = false;
  std::deque<OutputFile> m_files;
};

}  // namespace zrhost

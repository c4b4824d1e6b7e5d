#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "host/import/ImportSource.h"
#include "host/import/row_judge_internal.h"
#include "host/import/staged_faults_internal.h"
#include "host/policyfile/RejectWriter.h"

namespace zrhost {

// Reads a source again, of which rows were rejected: only a look at all rows tells some faults, and the rows themselves
// are not kept. The rejected ones go to a file or to a list, in the order of the source.
class SecondLook : public AnyRowSink {
 public:
  // With neither a file nor a list it only counts. All that is handed over must outlive it.
  SecondLook(RowJudge& judge, StagedFaults& staged, RejectWriter* file, std::function<void(const std::string&)> list);

  void onFault(const RowFault& fault) override;
  // Tells the list how many it did not show.
  void finish();

  std::uint64_t rejected() const { return m_rejected; }
  // Gets the numbers of the rows that were staged, mended, and are yet rejected.
  std::function<void(std::uint64_t number)> onMendedInVain;

 private:
  void onRow(const AnyRow& row, const RowPlace& place) override;
  void reject(const AnyRow& row, const RowPlace& place, const std::string& reason);
  void list(const std::string& text);

  RowJudge& m_judge;
  StagedFaults& m_staged;
  RejectWriter* m_file;
  std::function<void(const std::string&)> m_list;
  RowNumbers m_numbers;
  std::uint64_t m_rejected = 0;
};

}  // namespace zrhost

#pragma once

#include <cstdio>
#include <memory>
#include <string>

#include "host/rows/RowSink.h"

namespace zrlive {

// Rows on their way into a database that takes its time: they wait in a file without a name, and what they came from
// can be let go at once. Values are kept as they are, the revision is not.
//
// Throws HostError kInputOutput, with the folder's name, when the file cannot be made, written or read.
class RowSpool : public zrhost::RowSink {
 public:
  explicit RowSpool(std::string folder);

  void onRevision(const zrhost::Revision&) override {}
  void onPolicy(zrhost::PolicyRow& row) override;
  void onRule(zrhost::RuleRow& row) override;
  void onLink(zrhost::LinkRow& row) override;
  void onMember(zrhost::MemberRow& row) override;

  // Pushes all rows into `sink`, in their order.
  void giveTo(zrhost::RowSink& sink);

 private:
  template <typename Row>
  void write(char table, Row& row);
  template <typename Row>
  Row& read(Row& row);
  void write(const zrhost::Field& field);
  void read(zrhost::Field& field);
  [[noreturn]] void fail() const;

  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  std::string m_folder;
  std::unique_ptr<std::FILE, Close> m_file;
};

}  // namespace zrlive

#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/check/EntityCheck.h"
#include "host/import/any_row_internal.h"
#include "host/mend/row_mend.h"

namespace zrhost {

// Mends a row on its way in, and tells whether it may go in.
class RowJudge {
 public:
  // With `asIs` rows are as they are: nothing is mended, and only what no table can hold is refused.
  explicit RowJudge(bool asIs) : m_asIs(asIs) {}

  // From now on texts must be UTF-8, as the database's are.
  void requireUtf8() { m_onlyUtf8 = true; }

  struct Verdict {
    std::vector<MendedValue> mended{};
    std::optional<std::string> fault{};  // why the row is rejected
  };
  // Mends in place.
  Verdict judge(const AnyRow& row);

 private:
  std::optional<std::string> faultOf(const LinkRow& link);

  bool m_asIs;
  bool m_onlyUtf8 = false;
  EntityCheck m_entities;
};

}  // namespace zrhost

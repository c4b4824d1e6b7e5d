#include "host/import/row_judge_internal.h"

#include "host/base/strict_number.h"
#include "host/mend/name_mend.h"

namespace zrhost {
namespace {

std::optional<std::string> emptyName(const char* column, const Field& name) {
  if (!trimmed(*name).empty()) return std::nullopt;
  return std::string(column) + " is empty, so that no question finds it";
}

std::optional<std::string> faultOf(const MemberRow& member) {
  auto fault = emptyName("group_name", member.groupName);
  return fault ? fault : emptyName("user_name", member.userName);
}

bool isAddress(ZrEntityType type) {
  return type == ZrEntityType::IP || type == ZrEntityType::IP_RANGE;
}

}  // namespace

std::optional<std::string> RowJudge::faultOf(const LinkRow& link) {
  const auto number = strictNumber(*link.entityType, ZrEntityType::USER, ZrEntityType::OTHER);
  const auto type = static_cast<ZrEntityType>(number.value_or(ZrEntityType::OTHER));
  if (!isAddress(type)) return emptyName("entity_name", link.entityName);
  const auto refusal = m_entities.refusal(type, *link.entityName);
  if (!refusal) return std::nullopt;
  return std::string("entity_name") + (refusal->message.starts_with('\'') ? " " : ": ") + refusal->message;
}

RowJudge::Verdict RowJudge::judge(const AnyRow& row) {
  Verdict verdict;
  verdict.fault = tableFault(row);
  if (!verdict.fault && m_onlyUtf8) verdict.fault = utf8Fault(row);
  if (verdict.fault || m_asIs) return verdict;
  if (auto* const* link = std::get_if<LinkRow*>(&row)) {
    verdict.mended = mend(**link);
    verdict.fault = faultOf(**link);
  } else if (auto* const* member = std::get_if<MemberRow*>(&row)) {
    verdict.mended = mend(**member);
    verdict.fault = zrhost::faultOf(**member);
  }
  return verdict;
}

}  // namespace zrhost

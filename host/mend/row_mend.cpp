#include "host/mend/row_mend.h"

#include <string_view>

#include "host/base/strict_number.h"
#include "host/base/terminal_text.h"
#include "host/mend/address_mend.h"
#include "host/mend/name_mend.h"

namespace zrhost {
namespace {

constexpr const char* kType = "entity_type";
constexpr const char* kName = "entity_name";

void change(const char* column, std::string& value, std::string after, std::vector<MendedValue>& mended) {
  if (after.empty() || after == value) return;
  mended.push_back({column, value, after});
  value = std::move(after);
}

void mendAddress(LinkRow& row, ZrEntityType type, std::vector<MendedValue>& mended) {
  AddressMeaning meaning = meaningOfAddress(type, *row.entityName);
  if (!meaning.stored) return change(kName, *row.entityName, std::string(trimmed(*row.entityName)), mended);
  if (meaning.stored->type != type) {
    change(kType, *row.entityType, std::to_string(static_cast<int>(meaning.stored->type)), mended);
  }
  change(kName, *row.entityName, std::move(meaning.stored->text), mended);
}

std::string shownValue(const char* column, const std::string& value) {
  constexpr std::size_t kMost = 60;
  return std::string_view(column) == kType ? value : "'" + shortened(value, kMost) + "'";
}

}  // namespace

std::string MendedValue::text() const {
  return std::string(column) + ' ' + shownValue(column, before) + " becomes " + shownValue(column, after);
}

std::vector<MendedValue> mend(LinkRow& row) {
  std::vector<MendedValue> mended;
  const auto number = row.entityType && row.entityName
                          ? strictNumber(*row.entityType, ZrEntityType::USER, ZrEntityType::OTHER)
                          : std::nullopt;
  if (!number) return mended;
  const auto type = static_cast<ZrEntityType>(*number);
  if (type == ZrEntityType::IP || type == ZrEntityType::IP_RANGE) {
    mendAddress(row, type, mended);
  } else {
    change(kName, *row.entityName,
           type == ZrEntityType::HOSTNAME ? mendedHost(*row.entityName) : mendedName(*row.entityName), mended);
  }
  return mended;
}

std::vector<MendedValue> mend(MemberRow& row) {
  std::vector<MendedValue> mended;
  if (row.groupName) change("group_name", *row.groupName, mendedName(*row.groupName), mended);
  if (row.userName) change("user_name", *row.userName, mendedName(*row.userName), mended);
  return mended;
}

}  // namespace zrhost

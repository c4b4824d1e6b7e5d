#include "host/explain/near_name_internal.h"

#include <algorithm>
#include <string_view>

#include "host/explain/entity_text_internal.h"
#include "host/load/Snapshot.h"
#include "host/mend/name_mend.h"

namespace zrhost {

namespace {

bool mayHoldEntities(std::string_view text) {
  return text.find("&#") != std::string_view::npos;
}

// What is left of a name without the differences that a spelling makes.
std::string bare(std::string_view text) {
  const std::string lower = lowered(trimmed(text));
  return mayHoldEntities(lower) ? decoded(lower) : lower;
}

// Whether one character added, left out or changed makes one text of the other.
bool isOneEdit(std::string_view a, std::string_view b) {
  if (a.size() > b.size()) std::swap(a, b);
  if (a.size() < 3 || b.size() - a.size() > 1) return false;  // names of one letter or two are near to all others
  const auto differ = std::mismatch(a.begin(), a.end(), b.begin());
  const auto inA = differ.first + (a.size() == b.size() && differ.first != a.end() ? 1 : 0);
  return std::equal(inA, a.end(), differ.second + 1, b.end());
}

bool isFoldedType(ZrPolicyCache::EntityType type) {
  return type == ZrPolicyCache::USER || type == ZrPolicyCache::GROUP || type == ZrPolicyCache::OTHER;
}

std::string spellingOf(const ZrEPLink& link, const std::string& name, const std::string& key) {
  std::string text;
  const auto say = [&text](const char* what) { text += (text.empty() ? "" : "; ") + std::string(what); };
  if (isFoldedType(link.m_entityType) && Snapshot::searched(link.m_entityType, name) != name)
    say("its name has a capital letter, but names are searched in lower case");
  if (trimmed(name) != name) say("its name has a blank at an end");
  if (trimmed(key) != key) say("the key that was asked has a blank at an end");
  if (mayHoldEntities(name)) say("its name has an HTML entity that is not decoded");
  if (mayHoldEntities(key)) say("the key that was asked has an HTML entity, which is decoded in links alone");
  if (text.empty() && name != key) say("it is spelt otherwise than the key that was asked");
  return text;
}

}  // namespace

std::string filedName(const ZrEPLink& link) {
  const bool isDecoded = link.m_entityType == ZrPolicyCache::USER || link.m_entityType == ZrPolicyCache::GROUP;
  return isDecoded && mayHoldEntities(link.m_entityName) ? decoded(link.m_entityName) : link.m_entityName;
}

NameDifference compareNames(const ZrEPLink& link, const std::string& key) {
  const std::string name = filedName(link);
  const std::string bareName = bare(name), bareKey = bare(key);
  if (bareName != bareKey) return {.isOneCharacter = isOneEdit(bareName, bareKey)};
  return {.isSame = true, .spelling = spellingOf(link, name, key)};
}

}  // namespace zrhost

#include "host/check/name_check_internal.h"

#include <cstdlib>
#include <cstring>

#include "host/check/check_text_internal.h"
#include "host/mend/name_mend.h"

namespace zrhost {
namespace {

std::string subject(const NameColumn& name) {
  return std::string("the ") + name.what + ' ' + quotedText(name.text);
}

// The mended name as the change of its column; nothing when that leaves no name.
std::vector<ColumnValue> mendOf(const NameColumn& name, bool capitalsCount) {
  const std::string kept = capitalsCount ? mendedName(name.text) : mendedHost(name.text);
  if (kept.empty()) return {};
  return {{name.column, kept}};
}

std::string mendingRemedy(const std::vector<ColumnValue>& mend) {
  return mend.empty() ? "write the name, or remove the row" : "write it as " + quotedText(*mend.front().value);
}

// One entity of a name, from its "&#" to its ";" or the end of the name.
std::string entityAt(const char* at) {
  const char* const end = std::strchr(at, ';');
  return end == nullptr ? std::string(at) : std::string(at, end + 1);
}

Fault undecoded(const NameColumn& name, const std::string& entity) {
  return {
      FindingCode::kUndecodedEntity,
      subject(name) + " keeps its entities undecoded, since " + quotedText(entity) + " is none from &#128; to &#255;",
      "write the character itself, in UTF-8"};
}

Fault otherCharacter(const NameColumn& name, const std::string& entity, const std::string& decoded) {
  return {FindingCode::kOtherCharacter,
          subject(name) + " has the entity " + quotedText(entity) + ", which becomes the character " +
              quotedText(decoded) + ", since only the low 8 bits of its number count",
          "write the character itself, in UTF-8"};
}

// Whether a decoded entity is the Latin-1 character of its number.
bool isItsNumber(const std::string& entity, const std::string& decoded) {
  const unsigned character =
      (static_cast<unsigned char>(decoded.at(0)) & 0x03U) << 6 | (static_cast<unsigned char>(decoded.at(1)) & 0x3FU);
  return std::strtol(entity.c_str() + 2, nullptr, 10) == static_cast<long>(character);
}

}  // namespace

void checkName(const NameColumn& name, std::string_view key, bool capitalsCount, std::vector<Fault>& faults) {
  const std::string_view kept = trimmed(key);
  const bool isBlank = kept.size() != key.size() || key.empty();
  const bool isCapital = capitalsCount && askedName(kept) != kept;
  if (!isBlank && !isCapital) return;
  const std::vector<ColumnValue> mend = mendOf(name, capitalsCount);
  const std::string remedy = mendingRemedy(mend);
  if (isCapital) {
    faults.push_back({FindingCode::kCapitalName, subject(name) + " has a capital letter, so that no question finds it",
                      remedy, mend});
  }
  if (isBlank) {
    faults.push_back({FindingCode::kBlankName,
                      kept.empty()
                          ? std::string("the name of the ") + name.what + " is empty"
                          : subject(name) + " has blanks at its ends, so that no question without them finds it",
                      remedy, mend});
  }
}

// What the cache leaves as it is when it stands alone is what keeps it from decoding the name that holds it.
void checkEntities(ZrPolicyCache& cache, const NameColumn& name, std::vector<Fault>& faults) {
  std::vector<Fault> others;
  for (const char* at = std::strstr(name.text.c_str(), "&#"); at != nullptr; at = std::strstr(at, "&#")) {
    std::string entity = entityAt(at);
    const std::string decoded = cache.UnescapeLatinHtmlUnicode(entity);
    if (decoded == entity) return faults.push_back(undecoded(name, entity));
    if (others.empty() && !isItsNumber(entity, decoded)) others.push_back(otherCharacter(name, entity, decoded));
    at += entity.size();
  }
  faults.insert(faults.end(), others.begin(), others.end());
}

}  // namespace zrhost

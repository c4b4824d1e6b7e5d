#include "policy/ZrEPLink.h"

#include <cctype>

#include "policy/entity_key_internal.h"

namespace {

// A word of at most 15 characters that are no white space, as scanf's "%15s" takes it.
struct Word {
  char text[16] = {};

  bool empty() const { return text[0] == '\0'; }
};

const char* skipBlanks(const char* at) {
  while (std::isspace(static_cast<unsigned char>(*at)) != 0)
    ++at;
  return at;
}

// Reads a word behind optional white space and moves `at` behind it; the word stays empty where the text ends.
Word readWord(const char*& at) {
  Word word;
  at = skipBlanks(at);
  for (char& letter : word.text) {
    const bool last = &letter == &word.text[sizeof word.text - 1];
    if (last || *at == '\0' || std::isspace(static_cast<unsigned char>(*at)) != 0) break;
    letter = *at++;
  }
  return word;
}

}  // namespace

ZrEPLink::~ZrEPLink() = default;

void ZrEPLink::convertIP() {
  if (m_entityName.empty()) throw "Empty string without IP address value";
  const char* at = m_entityName.c_str();
  const Word first = readWord(at);
  if (first.empty()) return;
  const std::uint32_t from = zr::parseAddress(first.text);
  if (from == zr::kNoAddress) throw "Invalid IP address - 1";
  m_ipFrom = from;

  at = skipBlanks(at);
  if (*at != '~') return;
  const Word second = readWord(++at);
  if (second.empty()) return;
  const std::uint32_t to = zr::parseAddress(second.text);
  if (to == zr::kNoAddress) throw "Invalid IP address - 2";
  m_ipTo = to;
}

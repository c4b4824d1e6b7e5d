#include "host/import/second_look_internal.h"

#include <utility>

namespace zrhost {
namespace {

constexpr std::uint64_t kMostListed = 100;

template <class Row>
Field policyOf(const Row& row) {
  if constexpr (requires { row.policyId; }) return row.policyId;
  return std::nullopt;
}

std::string reasonOf(const StagedFault& fault, const AnyRow& row, const RowPlace& place) {
  const std::string policy = std::visit([](const auto* each) { return policyOf(*each).value_or(""); }, row);
  switch (fault.kind) {
    case StagedFault::Kind::kTwice:
      return place.file.empty() ? "the row stands twice"
                                : "the row stands twice, first in line " + std::to_string(lineOf(fault.earlier));
    case StagedFault::Kind::kUnknownPolicy:
      return "there is no policy " + policy;
    case StagedFault::Kind::kStillUsed:
      return "rules or links that stay refer to policy " + policy;
    case StagedFault::Kind::kTooLong:
      break;
  }
  return "its key is longer than the database can hold";
}

}  // namespace

SecondLook::SecondLook(RowJudge& judge, StagedFaults& staged, RejectWriter* file,
                       std::function<void(const std::string&)> list)
    : m_judge(judge), m_staged(staged), m_file(file), m_list(std::move(list)) {
  m_staged.rewind();
}

void SecondLook::list(const std::string& text) {
  if (m_list && m_rejected <= kMostListed) m_list(text);
}

void SecondLook::finish() {
  if (m_list && m_rejected > kMostListed) m_list("and " + std::to_string(m_rejected - kMostListed) + " more");
}

// What a database holds that no table can has no place, but says itself which row it is.
void SecondLook::onFault(const RowFault& fault) {
  ++m_rejected;
  if (m_file != nullptr) return m_file->reject(fault);
  list(fault.place.file.empty() ? fault.reason : fault.text());
}

void SecondLook::reject(const AnyRow& row, const RowPlace& place, const std::string& reason) {
  ++m_rejected;
  if (m_file != nullptr) return std::visit([&](auto* each) { m_file->reject(*each, reason); }, row);
  list(place.file.empty() ? nameOf(row) + ": " + reason : RowFault{place, 0, reason}.text());
}

// A rejected row is handed back as it came: it is a copy that is mended.
void SecondLook::onRow(const AnyRow& row, const RowPlace& place) {
  const std::uint64_t number = m_numbers.of(place);
  std::visit(
      [&](const auto* each) {
        auto copy = *each;
        const RowJudge::Verdict verdict = m_judge.judge(&copy);
        if (verdict.fault) return reject(row, place, *verdict.fault);
        const auto staged = m_staged.faultOf(number);
        if (!staged) return;
        if (!verdict.mended.empty() && onMendedInVain) onMendedInVain(number);
        reject(row, place, reasonOf(*staged, &copy, place));
      },
      row);
}

}  // namespace zrhost

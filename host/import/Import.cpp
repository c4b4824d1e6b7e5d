#include "host/import/Import.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <optional>

#include "host/base/terminal_text.h"
#include "host/import/import_guard_internal.h"
#include "host/import/second_look_internal.h"

namespace zrhost {
namespace {

constexpr std::uint64_t kRowsPerReport = 1024;
constexpr std::size_t kMostExamples = 5;

struct MendedExample {
  std::uint64_t number;
  std::string text;
};

// Hands the rows of a source to the writer, but for those that cannot go in whatever the others are.
class Stager : public AnyRowSink {
 public:
  Stager(ImportSource& source, RowJudge& judge, PolicyWriter& writer, const ImportOptions& options)
      : m_source(source), m_judge(judge), m_writer(writer), m_options(options) {}

  void onFault(const RowFault&) override {
    countRow();
    ++m_summary.rejected;
  }
  const ImportSummary& summary() const { return m_summary; }
  // Of mended rows, by number.
  const std::vector<MendedExample>& examples() const { return m_examples; }

 private:
  void onRow(const AnyRow& row, const RowPlace& place) override {
    countRow();
    const std::uint64_t number = m_numbers.of(place);
    const RowJudge::Verdict verdict = m_judge.judge(row);
    if (verdict.fault) {
      ++m_summary.rejected;
      return;
    }
    if (!stage(row, number)) {
      ++m_summary.rejected;
      return;
    }
    if (!verdict.mended.empty()) noteMended(verdict.mended, place, number);
  }

  // False when the database takes UTF-8 alone and the row is the first one that is not: which databases do is for the
  // writer to know.
  bool stage(const AnyRow& row, std::uint64_t number) {
    try {
      std::visit([&](const auto* each) { m_writer.stage(number, *each); }, row);
      return true;
    } catch (const HostError& error) {
      if (error.kind() != ErrorKind::kBadRow || !utf8Fault(row)) throw;
      m_judge.requireUtf8();
      return false;
    }
  }

  void noteMended(const std::vector<MendedValue>& mended, const RowPlace& place, std::uint64_t number) {
    ++m_summary.mended;
    if (m_examples.size() == kMostExamples) return;
    std::string text = terminalText(place.file) + ", line " + std::to_string(place.line) + ':';
    for (const MendedValue& value : mended)
      text += (&value == mended.data() ? " " : ", ") + value.text();
    m_examples.push_back({number, text});
  }

  void countRow() {
    if (m_summary.read++ % kRowsPerReport != 0 || !m_options.onProgress) return;
    m_options.onProgress({m_summary.read, m_source.bytesRead(), m_source.bytesInAll()});
  }

  ImportSource& m_source;
  RowJudge& m_judge;
  PolicyWriter& m_writer;
  const ImportOptions& m_options;
  RowNumbers m_numbers;
  ImportSummary m_summary;
  std::vector<MendedExample> m_examples;
};

bool isSameFile(const std::string& a, const std::string& b) {
  std::error_code unknown;  // one that is not there yet is no other
  return !a.empty() && !b.empty() && std::filesystem::equivalent(a, b, unknown);
}

// What would be replaced by the rejected rows is not theirs; nor is standard output, where the summary goes.
void refuseRejectsInPlace(const ImportSource& source, const DatabaseOptions& target, const std::string& rejects) {
  if (rejects == "-") throw HostError(ErrorKind::kUsage, "--rejects takes a file, not standard output; name one");
  const bool isSource = isSameFile(rejects, source.path());
  if (!isSource && !isSameFile(rejects, target.file)) return;
  throw HostError(ErrorKind::kUsage, "--rejects " + terminalText(rejects) + " is the " +
                                         (isSource ? "input" : "database") + " itself; name another file");
}

// A file of one table would otherwise stand for a database whose other tables are empty.
void refusePartAsWhole(const ImportSource& source, WriteMode mode) {
  const PolicyFileShape shape = source.shape();
  if (mode != WriteMode::kReplace || shape.format != PolicyFileFormat::kCsv || shape.isFolder) return;
  throw HostError(ErrorKind::kUsage,
                  "--replace makes the content that of the file, and " + source.name() +
                      " is of one table alone; give a folder of all four or JSON Lines, or leave --replace out");
}

void addUp(const Changes& changes, TableChanges& sum) {
  for (const TableChanges& each : changes) {
    sum.added += each.added;
    sum.changed += each.changed;
    sum.removed += each.removed;
    sum.unchanged += each.unchanged;
  }
}

class Importing {
 public:
  Importing(ImportSource& source, const DatabaseOptions& target, const ImportOptions& options)
      : m_source(source), m_options(options), m_judge(options.asIs) {
    refusePartAsWhole(source, options.mode);
    if (!options.rejects.empty()) refuseRejectsInPlace(source, target, options.rejects);
    // Made first, so that a file that cannot be written costs no import.
    if (!options.rejects.empty() && !options.dryRun) m_rejects.emplace(options.rejects, source.shape());
  }

  ImportSummary run(const DatabaseOptions& target) {
    PolicyWriter writer(target);
    stage(writer);
    if (m_summary.rejected > 0) lookAgain();
    for (MendedExample& example : m_examples)
      m_summary.mendedExamples.push_back(std::move(example.text));
    const ContentCounts before = writer.counts();
    const Changes changes = writer.apply(m_options.mode);
    if (!m_options.allowDrop) refuseLoss(before, writer.counts(), changes);
    addUp(changes, m_summary.changes);
    if (m_options.dryRun) return m_summary;
    if (m_rejects) m_rejects->commit();
    writer.commit();
    return m_summary;
  }

 private:
  void stage(PolicyWriter& writer) {
    Stager stager(m_source, m_judge, writer, m_options);
    m_source.read(stager);
    if (m_options.onProgress)
      m_options.onProgress({stager.summary().read, m_source.bytesRead(), m_source.bytesInAll()});
    writer.rejectFaults(m_options.mode, [this](const StagedFault& fault) { m_staged.add(fault); });
    m_summary = stager.summary();
    m_examples = stager.examples();
    m_summary.rejected += m_staged.size();
  }

  void lookAgain() {
    const bool isFatal = m_options.rejects.empty();
    SecondLook look(m_judge, m_staged, m_rejects ? &*m_rejects : nullptr,
                    isFatal ? m_options.onRejected : std::function<void(const std::string&)>());
    look.onMendedInVain = [this](std::uint64_t number) {
      --m_summary.mended;
      std::erase_if(m_examples, [number](const MendedExample& example) { return example.number == number; });
    };
    m_source.read(look);
    if (look.rejected() != m_summary.rejected) {
      throw HostError(ErrorKind::kInputOutput, m_source.name() + " changed while it was read; nothing was changed");
    }
    look.finish();
    if (isFatal) failForRejected();
  }

  [[noreturn]] void failForRejected() const {
    const bool isOne = m_summary.rejected == 1;
    throw HostError(ErrorKind::kBadRow, std::to_string(m_summary.rejected) + (isOne ? " row" : " rows") + " of " +
                                            m_source.name() + " cannot go in, so nothing was changed; correct " +
                                            (isOne ? "it" : "them"));
  }

  ImportSource& m_source;
  const ImportOptions& m_options;
  RowJudge m_judge;
  StagedFaults m_staged;
  std::optional<RejectWriter> m_rejects;
  ImportSummary m_summary;
  std::vector<MendedExample> m_examples;
};

}  // namespace

ImportSummary importRows(ImportSource& source, const DatabaseOptions& target, const ImportOptions& options) {
  return Importing(source, target, options).run(target);
}

}  // namespace zrhost

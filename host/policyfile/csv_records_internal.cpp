#include "host/policyfile/csv_records_internal.h"

#include <csv.h>
#include <new>
#include <utility>

#include "host/policyfile/PolicyFileReader.h"
#include "host/policyfile/row_stream_internal.h"

namespace zrhost {

namespace {
// By how much the parser's buffer grows: in the library's small steps a long field would be copied thousands of times.
constexpr std::size_t kBlock = std::size_t{64} << 10U;
}  // namespace

// The library's parser with what it found of the current record. Only a carriage return is a "blank" that it drops at
// the ends of fields, and only a line feed ends a record: so blanks stay, and a carriage return inside of quotes as
// well.
struct CsvRecords::Parser {
  Parser() { start(); }
  ~Parser() { csv_free(&csv); }
  Parser(const Parser&) = delete;
  Parser& operator=(const Parser&) = delete;

  void start() {
    if (csv_init(&csv, CSV_STRICT | CSV_STRICT_FINI) != 0) throw std::bad_alloc();
    csv_set_blk_size(&csv, kBlock);
    csv_set_space_func(&csv, [](unsigned char c) { return c == CSV_CR ? 1 : 0; });
    csv_set_term_func(&csv, [](unsigned char c) { return c == CSV_LF ? 1 : 0; });
  }
  void restart() {
    csv_free(&csv);
    start();
  }

  // Answers how many bytes were taken: all of them unless quotes are wrong.
  std::size_t parse(std::string_view text) {
    const std::size_t taken = csv_parse(&csv, text.data(), text.size(), onField, onRecord, this);
    if (csv_error(&csv) == CSV_ENOMEM) throw std::bad_alloc();
    return taken;
  }
  bool finish() { return csv_fini(&csv, onField, onRecord, this) == 0; }

  static void onField(void* text, std::size_t length, void* self) {
    auto& parser = *static_cast<Parser*>(self);
    parser.texts.append(static_cast<const char*>(text), length);
    parser.ends.push_back(parser.texts.size());
  }
  static void onRecord(int, void* self) { static_cast<Parser*>(self)->isWhole = true; }

  csv_parser csv{};
  std::string texts;
  std::vector<std::size_t> ends;
  bool isWhole = false;
};

CsvRecords::CsvRecords(std::unique_ptr<LineReader> lines)
    : m_lines(std::move(lines)), m_parser(std::make_unique<Parser>()) {}

CsvRecords::~CsvRecords() = default;

bool CsvRecords::nextLine() {
  return std::exchange(m_hasLine, false) || m_lines->next();
}

void CsvRecords::begin() {
  m_record.clear();
  m_fields.clear();
  m_parser->texts.clear();
  m_parser->ends.clear();
  m_parser->isWhole = false;
}

bool CsvRecords::next() {
  begin();
  while (nextLine()) {
    if (m_record.empty()) {
      if (m_lines->line().empty()) continue;
      m_place = m_lines->place();
    }
    if (takeLine()) return true;
  }
  if (m_record.empty()) return false;
  finishAtEnd();
  return true;
}

// Answers whether the record is whole.
bool CsvRecords::takeLine() {
  const std::string_view line = m_lines->lineWithEnd();
  m_record += line;
  if (m_record.size() > kMostLineBytes) failTooLong(m_place);
  const std::size_t taken = m_parser->parse(line);
  if (taken < line.size()) {
    m_parser->restart();
    const std::string where = m_lines->place().line == m_place.line
                                  ? std::string()
                                  : " in line " + std::to_string(m_lines->place().line) + ", inside of this record";
    throw LineFault{taken + 1, "a quote inside of a field without quotes, or something behind a closing quote" + where};
  }
  if (m_parser->isWhole) makeViews();
  return m_parser->isWhole;
}

// The last record needs no line end.
void CsvRecords::finishAtEnd() {
  if (!m_parser->finish()) failAt(m_place, "a quoted field begins here that never ends");
  makeViews();
}

void CsvRecords::makeViews() {
  std::size_t start = 0;
  for (const std::size_t end : m_parser->ends) {
    m_fields.emplace_back(m_parser->texts.data() + start, end - start);
    start = end;
  }
}

std::string_view CsvRecords::record() const {
  std::string_view record = m_record;
  if (record.ends_with('\n')) record.remove_suffix(1);
  if (record.ends_with('\r')) record.remove_suffix(1);
  return record;
}

}  // namespace zrhost

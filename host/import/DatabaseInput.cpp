#include "host/import/DatabaseInput.h"

#include "host/base/terminal_text.h"
#include "host/import/any_row_internal.h"

namespace zrhost {
namespace {

// Gives the rows of a database numbers for places.
class NumberingSink : public RowSink {
 public:
  explicit NumberingSink(PlacedRowSink& sink) : m_sink(sink) {}

  void onRevision(const Revision&) override {}
  void onPolicy(PolicyRow& row) override { take(row, &PlacedRowSink::onPolicy); }
  void onRule(RuleRow& row) override { take(row, &PlacedRowSink::onRule); }
  void onLink(LinkRow& row) override { take(row, &PlacedRowSink::onLink); }
  void onMember(MemberRow& row) override { take(row, &PlacedRowSink::onMember); }

 private:
  template <class Row>
  void take(Row& row, void (PlacedRowSink::*push)(Row&, const RowPlace&)) {
    ++m_place.line;
    const auto fault = tableFault(&row);
    if (!fault) return (m_sink.*push)(row, m_place);
    m_sink.onFault({m_place, 0, nameOf(&row) + ": " + *fault, tableOf(&row)});
  }

  PlacedRowSink& m_sink;
  RowPlace m_place;
};

}  // namespace

DatabaseInput::DatabaseInput(const DatabaseOptions& options)
    : m_name(terminalText(placeOf(options))), m_database(options) {}

void DatabaseInput::read(PlacedRowSink& sink) {
  NumberingSink numbering(sink);
  m_database.readByKey(numbering);
}

}  // namespace zrhost

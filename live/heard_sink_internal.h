#pragma once

#include "host/rows/RowSink.h"
#include "live/pulse_internal.h"

namespace zrlive {

// Passes rows on, and says that each was heard.
class HeardSink : public zrhost::RowSink {
 public:
  HeardSink(zrhost::RowSink& sink, Pulse& pulse) : m_sink(sink), m_pulse(pulse) {}
  void onRevision(const zrhost::Revision& revision) override {
    m_pulse.beat();
    m_sink.onRevision(revision);
  }
  void onPolicy(zrhost::PolicyRow& row) override {
    m_pulse.beat();
    m_sink.onPolicy(row);
  }
  void onRule(zrhost::RuleRow& row) override {
    m_pulse.beat();
    m_sink.onRule(row);
  }
  void onLink(zrhost::LinkRow& row) override {
    m_pulse.beat();
    m_sink.onLink(row);
  }
  void onMember(zrhost::MemberRow& row) override {
    m_pulse.beat();
    m_sink.onMember(row);
  }

 private:
  zrhost::RowSink& m_sink;
  Pulse& m_pulse;
};

}  // namespace zrlive

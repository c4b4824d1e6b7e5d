// What a policy service costs inside a real Postfix: the time of a RCPT with zrpolicyd, with a responder that answers
// every request with a constant, and without any, quiet and while a million links are loaded again and again. Each has
// a private Postfix and one session; they are asked in turn, mail by mail. Runs as root, which is who starts Postfix.

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>

#include "bench/bench_run.h"
#include "bench/bench_service.h"
#include "postfix/guide.h"
#include "postfix/postfix_server.h"
#include "postfix/smtp_client.h"

namespace {

constexpr int kRepeated = 8;  // RCPTs that are timed for one envelope, behind the one that opens the queue file

// Postfix holds back a client that brings mail faster than it is delivered.
constexpr char kNoPause[] = "in_flow_delay = 0\n";

std::string settingsWithService() {
  return kNoPause + zrtest::guideBlock("# /etc/postfix/main.cf");
}

std::string settingsWithout() {
  return std::string(kNoPause) +
         "smtpd_relay_restrictions = permit_mynetworks, reject_unauth_destination\nsmtpd_recipient_restrictions =\n";
}

// A Postfix with one session, whose RCPTs are timed.
struct Side {
  explicit Side(const std::string& settings) : postfix(settings) {}

  // For the client of that envelope. All mail is to be accepted.
  void time(const zrbench::Envelope& envelope) {
    if (!session) session = std::make_unique<zrtest::SmtpClient>(postfix.smtpSocket());
    expect(session->offer(mailOf(envelope)));
    for (int i = 0; i < kRepeated; ++i) {
      std::string reply;
      microseconds.push_back(1e6 * zrbench::secondsFor([&] { reply = session->say("RCPT TO:<someone@example.org>"); }));
      expect(reply);
    }
  }

  static zrtest::Mail mailOf(const zrbench::Envelope& envelope) {
    return {.login = envelope.login,
            .hostName = envelope.hostName == "unknown" ? "" : envelope.hostName,
            .address = envelope.address};
  }
  static void expect(const std::string& reply) {
    if (reply[0] != '2') throw std::runtime_error("Postfix says " + reply);
  }

  zrtest::PostfixServer postfix;
  std::unique_ptr<zrtest::SmtpClient> session;
  std::vector<double> microseconds;
};

// All that is compared; the processes are where the system puts them.
struct Contest {
  explicit Contest(std::int64_t links)
      : zrpolicyd(service.postfix.policySocket(), links, -1),
        responder(zrbench::startConstant(constant.postfix.policySocket(), folder.file("log"),
                                         std::min(4, static_cast<int>(zrbench::processors().size())), -1)) {}

  void run(int rounds) {
    const std::vector<zrbench::Envelope> envelopes = zrbench::envelopes();
    for (int i = 0; i < rounds; ++i) {
      const zrbench::Envelope& envelope = envelopes[static_cast<std::size_t>(i) % envelopes.size()];
      for (Side* side : {&service, &constant, &none})
        side->time(envelope);
      // That the verdicts do come from the service.
      if (i % 50 == 0 && service.session->offer({.login = "refused@example.org"})[0] != '5')
        throw std::runtime_error("Postfix accepts what the service refuses");
    }
  }

  zrtest::TempFolder folder;
  Side service{settingsWithService()}, constant{settingsWithService()}, none{settingsWithout()};
  zrbench::BenchService zrpolicyd;
  std::unique_ptr<zrtest::ChildProcess> responder;
};

void show(benchmark::State& state, Contest& contest) {
  const std::pair<const char*, double> shares[] = {{"p50", 0.5}, {"p99", 0.99}};
  for (const auto& [name, share] : shares) {
    const double service = zrbench::quantile(contest.service.microseconds, share);
    const double constant = zrbench::quantile(contest.constant.microseconds, share);
    state.counters[std::string("service_") + name + "_us"] = service;
    state.counters[std::string("constant_") + name + "_us"] = constant;
    state.counters[std::string("none_") + name + "_us"] = zrbench::quantile(contest.none.microseconds, share);
    state.counters[std::string("longer_") + name + "_us"] = service - constant;
  }
}

template <class Measure>
void measured(benchmark::State& state, std::int64_t links, const Measure& measure) {
  if (const std::string reason = zrtest::PostfixServer::whyNot(); !reason.empty()) {
    return state.SkipWithError(reason.c_str());
  }
  try {
    Contest contest(links);
    contest.run(20);
    for (Side* side : {&contest.service, &contest.constant, &contest.none})
      side->microseconds.clear();
    for (auto _ : state)
      measure(contest);
    show(state, contest);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    std::exit(1);
  }
}

void recipient(benchmark::State& state) {
  measured(state, 100000, [](Contest& contest) { contest.run(2000); });
}
BENCHMARK(recipient)->Iterations(1)->Unit(benchmark::kSecond);

void recipientWhileLoading(benchmark::State& state) {
  measured(state, 1000000, [&](Contest& contest) {
    contest.zrpolicyd.keepReloading();
    const int before = contest.zrpolicyd.generation();
    int loads = 0;
    for (int part = 0; part < 12 && loads < 3; ++part) {
      contest.run(500);
      loads = contest.zrpolicyd.generation() - before;
    }
    state.counters["loads"] = loads;
  });
}
BENCHMARK(recipientWhileLoading)->Iterations(1)->Unit(benchmark::kSecond);

}  // namespace

int main(int argc, char** argv) {
  return zrbench::run(argc, argv);
}

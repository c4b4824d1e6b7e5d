#ifndef ZR_LIVE_LIVEPOLICIES_H
#define ZR_LIVE_LIVEPOLICIES_H

#include <chrono>
#include <memory>
#include <string>

#include "live/LiveError.h"
#include "live/LiveOptions.h"
#include "live/LiveStatus.h"
#include "live/Snapshot.h"
#include "support/export.h"

namespace zrlive {

// Policies that stay current by themselves: a snapshot of a policy database, kept current by threads of the object's
// own, and lent to any number of threads that ask.
//
//   LivePolicies policies(options);
//   policies.start();
//   if (const auto snapshot = policies.lease()) snapshot->ask(question, answer);
//
// The revision of the database is looked at each `poll`; a change is loaded beside the snapshot that is lent, and then
// takes its place. What fails, the database, the network, a load, never takes the snapshot away: it is tried again with
// growing pauses, and status() has the reason. An SQLite file that another was renamed over is noticed as well.
//
// Held back. A new state with less than half of the links or of the policies of the present one, or without the default
// policy that the present one has, is not lent: most likely somebody emptied a table by mistake. It waits for
// reload(true), or for the database to become sound again.
//
// Last good. With a state folder the good state is also kept in two files there, last_good.db, a policy database for
// any command of zrpolicy, and last_good.state, which says of which revision it is, when the database last confirmed
// it, and its checksum: after the first load, at most once a keepInterval from then on, and by stop(). A process that
// is killed at any moment leaves a whole one. A start without the database answers from it; a damaged one is refused
// and logged. The folder is one object's: no other process may use it meanwhile, and start() sees to that.
//
// Leases. lease() takes no lock and waits for nobody, whatever loaders do. A lease is an ordinary shared_ptr: the
// snapshot stays as long as it is held, and no longer; no thread keeps one that it was not given. Memory therefore is
// that of one snapshot, two while one is loaded, and one more for each older one that somebody still holds: hold leases
// for an answer, not for hours. The last holder does not pay for freeing a snapshot, which a thread of this object
// does; only a lease that outlives the object frees it itself.
//
// A loader that hears nothing from a server for `readTimeout` is given up, since no driver can be interrupted: its
// thread is left standing until the driver returns, and another takes its place. At most three stand at a time, in
// which case it is waited for one of them. They hold nothing of this object, which can be destroyed meanwhile.
//
// Threads: everything but construction, start, stop and destruction may be called by any number of threads at once.
// Any number of objects may live in a process. A child of fork(2) has none of an object's threads: what it leases there
// is never renewed, and its copy keeps the state folder, so an object is to be made and started behind the fork. The
// library is to be loaded before the process starts its threads, as it
// sets an environment variable then (ODBCINI; the data sources that it named go on being found).
class ZR_EXPORT LivePolicies {
 public:
  // Only looks at the options. Throws LiveError kUsage for those that cannot be, kInputOutput for statement files or a
  // state folder that are not there or cannot be used.
  explicit LivePolicies(LiveOptions options);
  // As stop().
  ~LivePolicies();
  LivePolicies(const LivePolicies&) = delete;
  LivePolicies& operator=(const LivePolicies&) = delete;

  // Starts the threads and returns at once. Once only; throws LiveError kInputOutput when another process uses the
  // state folder, kInternal when there can be no thread.
  void start();
  // Ends them. A state that is not kept yet is kept, for which `limit` is the time; a loader that a server keeps
  // waiting is left standing. The snapshot goes on being lent. Nothing happens when they have not been started.
  void stop(std::chrono::milliseconds limit = std::chrono::seconds(10)) noexcept;

  // The present snapshot; null while there is none.
  std::shared_ptr<const Snapshot> lease() const noexcept;

  // Whether there is a snapshot, and whether it is too old; costs a look at a clock.
  LiveState state() const noexcept;
  LiveStatus status() const;

  // Waits until there is a snapshot; false when there is none after `limit`.
  bool waitForSnapshot(std::chrono::milliseconds limit) const;

  enum class Reload {
    kLoaded,    // a snapshot of what the database holds now is lent
    kHeldBack,  // it is held back; status() says why
    kFailed,    // status() says why
    kPending,   // it goes on, or is still to come
  };
  // Has the state of the database loaded, also when it has not changed, without waiting out a pause. With `accept`,
  // nothing is held back this time. Returns how that load ended, or kPending after `wait`.
  Reload reload(bool accept, std::chrono::milliseconds wait = std::chrono::milliseconds(0));

  // Loads the database once, and says what is in it (counts, epoch, revision); nothing is kept of it. For examining
  // options. Throws LiveError of every kind.
  static LiveStatus check(const LiveOptions& options);

  // Up to which level libzrpolicy.so tells the process's log sink what it does (PolicyLog::ms_level). It is kTrace
  // unless somebody sets it, at which every lookup is told, the password of a connection too, and answers take several
  // times as long: a service wants kError.
  static void setSinkLevel(LogLevel level) noexcept;

 private:
  class Parts;
  std::unique_ptr<Parts> m_parts;
};

}  // namespace zrlive

#endif  // ZR_LIVE_LIVEPOLICIES_H

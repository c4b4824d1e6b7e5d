#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>

#include "live/Snapshot.h"

namespace zrlive {

class RetiredSnapshots;

// Where the present snapshot is lent from.
//
// There are two sides, one of which is open. A borrower enters the open side, copies the pointer that stands there and
// leaves: it never waits, and whoever is interrupted in the middle delays nobody but publish, which fills the closed
// side when all have left it, opens that one, and empties the other when all have left that. Each side is cut into
// slots with counts and pointers of their own, so that threads on several processors do not share what they write to.
//
// Threads: lease by any number at once; publish and close by one at a time.
class LeaseSlots {
 public:
  LeaseSlots();
  ~LeaseSlots();
  LeaseSlots(const LeaseSlots&) = delete;
  LeaseSlots& operator=(const LeaseSlots&) = delete;

  std::shared_ptr<const Snapshot> lease() const noexcept;
  // Lends this one from now on. The one before is retired once nobody holds it any more.
  void publish(std::unique_ptr<const Snapshot> snapshot);
  // Whether something has been retired; what frees it, which may outlive the slots.
  bool hasRetired() const noexcept;
  std::function<void()> drainer() const;
  // From now on the last holder frees a snapshot: nobody drains any more.
  void close() noexcept;

 private:
  static constexpr std::size_t kSlots = 16;
  struct alignas(64) Slot {
    std::atomic<std::uint32_t> inside{0};
    std::shared_ptr<const Snapshot> snapshot;
  };
  using Side = std::array<Slot, kSlots>;

  static void waitUntilLeft(const Side& side) noexcept;
  static std::size_t slotOfThread() noexcept;

  mutable std::array<Side, 2> m_sides;
  std::atomic<unsigned> m_open{0};
  std::shared_ptr<RetiredSnapshots> m_retired;
};

}  // namespace zrlive

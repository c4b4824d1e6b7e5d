#include "live/lease_slots_internal.h"

#include <chrono>
#include <thread>
#include <utility>

namespace zrlive {

// A list that any thread puts onto by one exchange, and one thread takes as a whole: the last holder of a snapshot does
// no more than that.
class RetiredSnapshots {
 public:
  // A snapshot that was lent, and who still holds it: each slot has a count of its own, which counts as one here.
  struct Lent {
    std::unique_ptr<const Snapshot> snapshot;
    std::atomic<std::size_t> holders;
    Lent* next = nullptr;
  };

  ~RetiredSnapshots() { drain(); }

  void add(Lent* lent) noexcept {
    lent->next = m_first.load(std::memory_order_relaxed);
    while (!m_first.compare_exchange_weak(lent->next, lent, std::memory_order_seq_cst))
      continue;
    if (m_isClosed.load(std::memory_order_seq_cst)) drain();
  }

  void drain() noexcept {
    for (Lent* lent = m_first.exchange(nullptr, std::memory_order_seq_cst); lent != nullptr;)
      delete std::exchange(lent, lent->next);
  }

  bool isEmpty() const noexcept { return m_first.load(std::memory_order_seq_cst) == nullptr; }

  void close() noexcept {
    m_isClosed.store(true, std::memory_order_seq_cst);
    drain();
  }

 private:
  std::atomic<Lent*> m_first{nullptr};
  std::atomic<bool> m_isClosed{false};
};

namespace {

// What a slot's pointer does when nobody holds it any more.
struct Retire {
  RetiredSnapshots::Lent* lent;
  std::shared_ptr<RetiredSnapshots> retired;

  void operator()(const Snapshot*) const noexcept {
    if (lent->holders.fetch_sub(1, std::memory_order_acq_rel) == 1) retired->add(lent);
  }
};

}  // namespace

LeaseSlots::LeaseSlots() : m_retired(std::make_shared<RetiredSnapshots>()) {}

LeaseSlots::~LeaseSlots() {
  close();
}

std::shared_ptr<const Snapshot> LeaseSlots::lease() const noexcept {
  const std::size_t number = slotOfThread();
  for (;;) {
    const unsigned side = m_open.load(std::memory_order_seq_cst);
    Slot& slot = m_sides[side][number];
    slot.inside.fetch_add(1, std::memory_order_seq_cst);
    // Whoever sees its side open behind its entry is seen inside by publish before that empties it.
    const bool isOpen = m_open.load(std::memory_order_seq_cst) == side;
    std::shared_ptr<const Snapshot> snapshot = isOpen ? slot.snapshot : nullptr;
    slot.inside.fetch_sub(1, std::memory_order_release);
    if (isOpen) return snapshot;
  }
}

void LeaseSlots::publish(std::unique_ptr<const Snapshot> snapshot) {
  const unsigned open = m_open.load(std::memory_order_relaxed);
  Side& next = m_sides[1 - open];
  const Snapshot* const raw = snapshot.get();
  // One holder more than slots, until all are filled: when memory runs out, nothing is freed twice.
  auto* const lent = new RetiredSnapshots::Lent{std::move(snapshot), kSlots + 1};
  std::array<std::shared_ptr<const Snapshot>, kSlots> pointers;
  const Retire retire{lent, m_retired};
  std::size_t made = 0;
  try {
    for (; made < kSlots; ++made)
      pointers[made] = std::shared_ptr<const Snapshot>(raw, retire);
  } catch (...) {  // the constructor has called the deleter for the one that it could not make
    lent->holders -= kSlots - made - 1;
    retire(raw);
    throw;
  }
  waitUntilLeft(next);
  for (std::size_t number = 0; number < kSlots; ++number)
    next[number].snapshot = std::move(pointers[number]);
  retire(raw);
  m_open.store(1 - open, std::memory_order_seq_cst);
  waitUntilLeft(m_sides[open]);
  for (Slot& slot : m_sides[open])
    slot.snapshot.reset();
}

bool LeaseSlots::hasRetired() const noexcept {
  return !m_retired->isEmpty();
}

std::function<void()> LeaseSlots::drainer() const {
  return [retired = m_retired] { retired->drain(); };
}

void LeaseSlots::close() noexcept {
  m_retired->close();
}

void LeaseSlots::waitUntilLeft(const Side& side) noexcept {
  for (const Slot& slot : side) {
    while (slot.inside.load(std::memory_order_seq_cst) != 0)
      std::this_thread::sleep_for(std::chrono::microseconds(50));
  }
}

std::size_t LeaseSlots::slotOfThread() noexcept {
  static std::atomic<std::size_t> threads{0};
  thread_local const std::size_t number = threads.fetch_add(1, std::memory_order_relaxed) % kSlots;
  return number;
}

}  // namespace zrlive

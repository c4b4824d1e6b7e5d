#pragma once

#include <array>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

#include "host/diff/ordered_rows_internal.h"

namespace zrhost {

// The rows of a side, read on a thread of its own, to be taken one by one: a source pushes, so two of them can be read
// side by side only like this. Rows are handed over many at a time, in batches whose number bounds what is held.
class RowPipe {
 public:
  // Begins to read. The side must outlive the pipe.
  explicit RowPipe(const DiffSide& side);
  // Ends the reading, if need be at the next row.
  ~RowPipe();
  RowPipe(const RowPipe&) = delete;
  RowPipe& operator=(const RowPipe&) = delete;

  // The next row, valid until pop; null behind the last one. Throws what the reading ended with.
  const OrderedRow* front();
  void pop() { ++m_taken; }

 private:
  static constexpr std::size_t kRows = 512;
  static constexpr std::size_t kBatches = 4;
  struct Batch {
    std::vector<OrderedRow> rows{kRows};
    std::size_t size = 0;
  };
  struct Stopped {};

  // Of the reading thread.
  void run(const DiffSide& side) noexcept;
  void put(const OrderedRow& row);
  void publish();
  // Of the taking one.
  bool takeBatch();

  std::array<Batch, kBatches> m_batches;
  std::size_t m_taken = 0;  // of the batch in front
  bool m_holdsBatch = false;

  std::mutex m_mutex;  // for what follows
  std::condition_variable m_changed;
  std::uint64_t m_published = 0;  // batches, in all
  std::uint64_t m_released = 0;
  bool m_isOver = false;
  bool m_isStopped = false;
  std::exception_ptr m_failure;

  std::thread m_thread;  // last: it uses the rest
};

}  // namespace zrhost

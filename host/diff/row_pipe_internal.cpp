#include "host/diff/row_pipe_internal.h"

namespace zrhost {

RowPipe::RowPipe(const DiffSide& side) : m_thread([this, &side] { run(side); }) {}

RowPipe::~RowPipe() {
  {
    const std::lock_guard lock(m_mutex);
    m_isStopped = true;
  }
  m_changed.notify_all();
  m_thread.join();
}

void RowPipe::run(const DiffSide& side) noexcept {
  std::exception_ptr failure;
  try {
    OrderedRows rows(side, [this](const OrderedRow& row) { put(row); });
    readSide(side, rows);
    if (m_batches[m_published % kBatches].size > 0) publish();
  } catch (const Stopped&) {
  } catch (...) {
    failure = std::current_exception();
  }
  const std::lock_guard lock(m_mutex);
  m_isOver = true;
  m_failure = failure;
  m_changed.notify_all();
}

// Only this thread changes m_published, and the batch behind the published ones is its own.
void RowPipe::put(const OrderedRow& row) {
  Batch& batch = m_batches[m_published % kBatches];
  copyRow(row, batch.rows[batch.size]);
  if (++batch.size == kRows) publish();
}

// Hands the batch over, and waits until the next one is free.
void RowPipe::publish() {
  std::unique_lock lock(m_mutex);
  ++m_published;
  m_changed.notify_all();
  m_changed.wait(lock, [this] { return m_isStopped || m_published - m_released < kBatches; });
  if (m_isStopped) throw Stopped();
  m_batches[m_published % kBatches].size = 0;
}

const OrderedRow* RowPipe::front() {
  const auto current = [this]() -> Batch& { return m_batches[m_released % kBatches]; };
  if (m_holdsBatch && m_taken < current().size) return &current().rows[m_taken];
  return takeBatch() ? &current().rows.front() : nullptr;
}

bool RowPipe::takeBatch() {
  std::unique_lock lock(m_mutex);
  if (m_holdsBatch) ++m_released;
  m_holdsBatch = false;
  m_changed.notify_all();
  m_changed.wait(lock, [this] { return m_isOver || m_published > m_released; });
  if (m_published > m_released) {
    m_taken = 0;
    return m_holdsBatch = true;
  }
  if (m_failure) std::rethrow_exception(m_failure);
  return false;
}

}  // namespace zrhost

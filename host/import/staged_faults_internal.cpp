#include "host/import/staged_faults_internal.h"

#include <cerrno>
#include <cstring>
#include <type_traits>
#include <unistd.h>

#include "host/base/HostError.h"
#include "host/base/anonymous_file.h"

namespace zrhost {
namespace {

constexpr std::size_t kBlock = 4096;
static_assert(std::is_trivially_copyable_v<StagedFault>);

void writeBlock(const FileDescriptor& file, const std::vector<StagedFault>& block) {
  writeAll(file, reinterpret_cast<const char*>(block.data()), block.size() * sizeof(StagedFault), "a temporary file");
}

}  // namespace

void StagedFaults::add(const StagedFault& fault) {
  if (m_block.size() == kBlock) {
    if (!m_file) m_file = anonymousFile();
    writeBlock(m_file, m_block);
    m_block.clear();
  }
  m_block.push_back(fault);
  ++m_size;
}

void StagedFaults::rewind() {
  m_at = 0;
  if (!m_file) return;
  if (!m_block.empty()) writeBlock(m_file, m_block);
  m_block.clear();
  lseek(m_file.get(), 0, SEEK_SET);
}

// The next block; false at the end.
bool StagedFaults::fill() {
  if (!m_file) return false;
  const auto bytes = m_file.read(kBlock * sizeof(StagedFault));
  if (!bytes) {
    throw HostError(ErrorKind::kInputOutput, std::string("cannot read a temporary file: ") + std::strerror(errno));
  }
  m_at = 0;
  m_block.resize(bytes->size() / sizeof(StagedFault));
  std::memcpy(m_block.data(), bytes->data(), m_block.size() * sizeof(StagedFault));
  return !m_block.empty();
}

std::optional<StagedFault> StagedFaults::faultOf(std::uint64_t number) {
  while (m_at < m_block.size() || fill()) {
    if (m_block[m_at].number > number) return std::nullopt;
    if (m_block[m_at++].number == number) return m_block[m_at - 1];
  }
  return std::nullopt;
}

}  // namespace zrhost

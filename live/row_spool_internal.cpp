#include "live/row_spool_internal.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

#include "host/base/FileDescriptor.h"
#include "host/base/HostError.h"
#include "host/base/terminal_text.h"
#include "host/rows/PolicyTable.h"

namespace zrlive {
namespace {

constexpr std::uint32_t kNull = UINT32_MAX;

// A file that nobody else sees; not every file system knows the first way.
zrhost::FileDescriptor namelessFile(const std::string& folder) {
  zrhost::FileDescriptor file(open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
  if (file) return file;
  std::string name = folder + "/.last_good-rows-XXXXXX";
  zrhost::FileDescriptor named(mkostemp(name.data(), O_CLOEXEC));
  if (named) unlink(name.c_str());
  return named;
}

}  // namespace

RowSpool::RowSpool(std::string folder) : m_folder(std::move(folder)) {
  zrhost::FileDescriptor file = namelessFile(m_folder);
  if (file) m_file.reset(fdopen(file.get(), "w+"));
  if (!m_file) fail();
  static_cast<void>(file.release());
}

void RowSpool::fail() const {
  throw zrhost::HostError(zrhost::ErrorKind::kInputOutput,
                          zrhost::oneLine("cannot keep rows in '" + m_folder + "': " + std::strerror(errno)));
}

void RowSpool::write(const zrhost::Field& field) {
  const std::uint32_t size = field ? static_cast<std::uint32_t>(field->size()) : kNull;
  if (std::fwrite(&size, sizeof size, 1, m_file.get()) != 1) fail();
  if (field && !field->empty() && std::fwrite(field->data(), field->size(), 1, m_file.get()) != 1) fail();
}

void RowSpool::read(zrhost::Field& field) {
  std::uint32_t size = 0;
  if (std::fread(&size, sizeof size, 1, m_file.get()) != 1) fail();
  if (size == kNull) return field.reset();
  if (!field) field.emplace();
  field->resize(size);
  if (size != 0 && std::fread(field->data(), size, 1, m_file.get()) != 1) fail();
}

template <typename Row>
void RowSpool::write(char table, Row& row) {
  if (std::fputc(table, m_file.get()) == EOF) fail();
  for (const zrhost::Field* field : zrhost::fieldsOf(row))
    write(*field);
}

template <typename Row>
Row& RowSpool::read(Row& row) {
  for (zrhost::Field* field : zrhost::fieldsOf(row))
    read(*field);
  return row;
}

void RowSpool::onPolicy(zrhost::PolicyRow& row) {
  write('p', row);
}

void RowSpool::onRule(zrhost::RuleRow& row) {
  write('r', row);
}

void RowSpool::onLink(zrhost::LinkRow& row) {
  write('l', row);
}

void RowSpool::onMember(zrhost::MemberRow& row) {
  write('m', row);
}

void RowSpool::giveTo(zrhost::RowSink& sink) {
  if (std::fseek(m_file.get(), 0, SEEK_SET) != 0) fail();  // which writes what is left to write
  zrhost::PolicyRow policy;
  zrhost::RuleRow rule;
  zrhost::LinkRow link;
  zrhost::MemberRow member;
  for (int table = std::fgetc(m_file.get()); table != EOF; table = std::fgetc(m_file.get())) {
    if (table == 'p') sink.onPolicy(read(policy));
    if (table == 'r') sink.onRule(read(rule));
    if (table == 'l') sink.onLink(read(link));
    if (table == 'm') sink.onMember(read(member));
  }
  if (std::ferror(m_file.get()) != 0) fail();
}

}  // namespace zrlive

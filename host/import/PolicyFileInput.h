#pragma once

#include <memory>
#include <string>

#include "host/base/FileDescriptor.h"
#include "host/import/ImportSource.h"

namespace zrhost {

// A policy file, see PolicyFileReader; "-" is standard input. What can be read once only (a pipe) is first copied to a
// file without a name, so that a database is not kept locked while its writer thinks.
class PolicyFileInput : public ImportSource {
 public:
  // Opens it and tells its format. Throws what PolicyFileReader throws.
  explicit PolicyFileInput(std::string path);

  void read(PlacedRowSink& sink) override;
  std::string name() const final;
  std::string path() const override;
  PolicyFileShape shape() const override { return m_shape; }
  std::uint64_t bytesRead() const override { return m_reader->bytesRead(); }
  std::uint64_t bytesInAll() const override { return m_reader->bytesInAll(); }

 private:
  void open();

  std::string m_path;
  FileDescriptor m_copy;  // of what can be read once
  PolicyFileShape m_shape;
  std::unique_ptr<PolicyFileReader> m_reader;
  bool m_wasRead = false;
};

}  // namespace zrhost

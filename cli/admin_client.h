#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "cli/command_context.h"

namespace zrcli {

// Adds --admin and --config, which say where a service is.
void addAdminOptions(CLI::App& command, CommandContext& context, std::string& address);

struct AdminReply {
  int status;
  std::string body;
};

// Speaks to the administration of a running service.
class AdminClient {
 public:
  // `address`: unix:PATH or inet:ADDRESS:PORT; empty: the first one of the settings' [admin] listen. Throws HostError
  // kUsage when there is none.
  AdminClient(const CommandContext& context, const std::string& address);

  // Throw HostError kUnreachable when nobody answers within ten seconds.
  AdminReply get(const std::string& path) const;
  AdminReply post(const std::string& path, const std::string& body) const;

 private:
  std::string m_address;
};

// What a reply says of a failure, or the reply itself where it has none.
std::string errorOf(const AdminReply& reply);

}  // namespace zrcli

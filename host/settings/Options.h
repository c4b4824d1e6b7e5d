#pragma once

#include <string>
#include <vector>

#include "host/base/DatabaseOptions.h"

namespace zrhost {

// [database], and of [sql] the folder of the statements.
struct DatabaseSection : DatabaseOptions {
  std::string passwordFile;  // where the password is to be read; empty: nowhere, or the environment has it
};

// [log]
struct LogSection {
  int level = 0;  // 0 nothing, 1 errors, 2 warnings, 3 what is done, 4 every step
};

using TextList = std::vector<std::string>;

// [service], of zrpolicyd. Times are seconds.
struct ServiceSection {
  TextList listen{"unix:/run/zrpolicy/policy.sock"};  // for the policy protocol
  TextList socketmap;
  std::string socketMode = "0660";  // of Unix sockets, octal
  std::string socketGroup;          // of Unix sockets; empty: that of the process
  bool allowRemote = false;         // whether other addresses than those of the loopback may be listened on
  std::string user;                 // whom a service that root started becomes
  int threads = 0;                  // 0: one a processor, at most 4
  std::string stateFolder = "/var/lib/zrpolicy";
  int poll = 1;
  int reloadInterval = 1;
  int keepInterval = 60;
  int maxAge = 0;  // 0: none
  std::string noMatchAction = "DUNNO";
  std::string unavailableAction = "DEFER_IF_PERMIT 4.3.5 policy service is not ready";
  std::string staleAction;  // empty: as unavailableAction
  std::string faultAction = "DEFER_IF_PERMIT 4.3.5 policy data error";
  bool shadow = false;
  std::string decisionLog;  // a path or "stderr"; empty: none
  int sample = 1;
  TextList redact;
  std::string redactKeyFile;
  int idleTimeout = 1200;
  int requestTimeout = 10;
  int shutdownTimeout = 10;
  int maxConnections = 1024;
};

// [questions]: what a request is asked for, by the names of its attributes.
struct QuestionsSection {
  TextList user{"sasl_username"};
  TextList host{"client_name"};
  TextList address{"client_address"};
  TextList other;
  bool byDefault = true;
  bool members = true;
  bool parentDomains = true;
  std::string recipientDelimiter = "+";
  std::string domainAs = "other";
  bool localpart = false;
};

// [admin]
struct AdminSection {
  TextList listen{"unix:/run/zrpolicy/admin.sock"};
};

// What the settings of a run come to, typed, one member a section: a setting that there is not does not compile. A
// member's initial value is the setting's default; each member is bound to its setting's name in SettingDefinition.cpp.
struct Options {
  DatabaseSection database;
  LogSection log;
  ServiceSection service;
  QuestionsSection questions;
  AdminSection admin;
};

}  // namespace zrhost

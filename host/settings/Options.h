#pragma once

#include <string>

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

// What the settings of a run come to, typed, one member a section: a setting that there is not does not compile. A
// member's initial value is the setting's default; each member is bound to its setting's name in SettingDefinition.cpp.
struct Options {
  DatabaseSection database;
  LogSection log;
};

}  // namespace zrhost

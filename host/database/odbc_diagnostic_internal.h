#pragma once

#include <sql.h>
#include <string>

namespace zrhost {

// What the driver or the driver manager says about a call that failed.
struct Diagnostic {
  std::string state;      // SQLSTATE
  SQLINTEGER native = 0;  // the driver's own number
  std::string text;       // on one line, without the brackets that name who speaks; empty when nothing was said
};

// Of the last call on a handle: the first record that is no warning, else the first.
Diagnostic diagnosticOf(SQLSMALLINT type, SQLHANDLE handle);

// Of the last attempt of the calling thread to connect, when that failed. The library frees the handle of a failed
// attempt before anybody can ask it, so this program's SQLConnect stands between the library and the driver manager and
// keeps what there was to know. Nobody logs in twice to find out why the first time failed.
const Diagnostic& connectDiagnostic();
void forgetConnectDiagnostic();

}  // namespace zrhost

#include "host/database/odbc_diagnostic_internal.h"

#include <array>
#include <dlfcn.h>
#include <sqlext.h>

#include "host/database/connect_turn_internal.h"

namespace zrhost {
namespace {

thread_local Diagnostic t_connect;

bool isBlank(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

// "[unixODBC][Driver Manager]Can't ...", "ERROR: relation ...;\nError while executing the query"
std::string essence(const char* message) {
  std::string text;
  while (*message == '[') {
    while (*message != '\0' && *message != ']')
      ++message;
    if (*message == ']') ++message;
  }
  for (; *message != '\0'; ++message) {
    if (!isBlank(*message)) {
      text += *message;
    } else if (!text.empty() && text.back() != ' ') {
      text += ' ';
    }
  }
  constexpr std::string_view kTail = "; Error while executing the query", kHead = "ERROR: ";
  text.erase(text.find_last_not_of(' ') + 1);
  if (text.ends_with(kTail)) text.erase(text.size() - kTail.size());
  return text.starts_with(kHead) ? text.substr(kHead.size()) : text;
}

bool read(SQLSMALLINT type, SQLHANDLE handle, SQLSMALLINT record, Diagnostic& diagnostic) {
  std::array<SQLCHAR, 6> state{};
  std::array<SQLCHAR, 2048> message{};
  SQLSMALLINT length = 0;
  if (!SQL_SUCCEEDED(SQLGetDiagRec(type, handle, record, state.data(), &diagnostic.native, message.data(),
                                   static_cast<SQLSMALLINT>(message.size()), &length))) {
    return false;
  }
  diagnostic.state = reinterpret_cast<const char*>(state.data());
  diagnostic.text = essence(reinterpret_cast<const char*>(message.data()));
  return true;
}

}  // namespace

Diagnostic diagnosticOf(SQLSMALLINT type, SQLHANDLE handle) {
  Diagnostic first, next;
  if (handle == nullptr || !read(type, handle, 1, first)) return {};
  for (SQLSMALLINT record = 1; read(type, handle, record, next); ++record)
    if (!next.state.starts_with("01")) return next;
  return first;
}

const Diagnostic& connectDiagnostic() {
  return t_connect;
}

void forgetConnectDiagnostic() {
  t_connect = {};
}

}  // namespace zrhost

// Weak, so that a program that stands in for the call itself, as a test may, is not refused by the linker.
extern "C" __attribute__((weak, visibility("default"))) SQLRETURN SQLConnect(SQLHDBC connection, SQLCHAR* source,
                                                                             SQLSMALLINT sourceLength, SQLCHAR* user,
                                                                             SQLSMALLINT userLength, SQLCHAR* password,
                                                                             SQLSMALLINT passwordLength) {
  static const auto real = reinterpret_cast<decltype(&SQLConnect)>(dlsym(RTLD_NEXT, "SQLConnect"));
  if (real == nullptr) return SQL_ERROR;
  const SQLRETURN result = zrhost::ConnectScope::attempt(
      [&] { return real(connection, source, sourceLength, user, userLength, password, passwordLength); });
  try {
    zrhost::t_connect = SQL_SUCCEEDED(result) ? zrhost::Diagnostic() : zrhost::diagnosticOf(SQL_HANDLE_DBC, connection);
  } catch (...) {  // no memory for an explanation
  }
  return result;
}

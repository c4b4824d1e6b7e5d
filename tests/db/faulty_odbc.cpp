#include "db/faulty_odbc.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <new>

using zrtest::failing;
using zrtest::odbc;

int zrtest::FaultyOdbc::count(const std::string& call) const {
  const auto isCall = [&](const std::string& line) { return (line + " ").starts_with(call + " "); };
  return static_cast<int>(std::count_if(calls.begin(), calls.end(), isCall));
}

namespace {

using Word = std::intptr_t;
using Words = std::array<Word, 10>;

void put(Word to, const std::string& text) {
  std::memcpy(reinterpret_cast<void*>(to), text.c_str(), text.size() + 1);
}

SQLRETURN diagnostic(const Words& words) {
  const auto record = static_cast<std::size_t>(static_cast<SQLSMALLINT>(words[2]));
  if (record > odbc.diagnostics.size()) return SQL_NO_DATA;
  put(words[3], "HY000");
  put(words[5], odbc.diagnostics[record - 1]);
  *reinterpret_cast<SQLINTEGER*>(words[4]) = 7;
  return SQL_SUCCESS;
}

SQLRETURN nextPiece(const Words& words) {
  if (odbc.piece == odbc.pieces.size()) return SQL_NO_DATA;
  const zrtest::Piece& piece = odbc.pieces[odbc.piece++];
  std::memcpy(reinterpret_cast<void*>(words[3]), piece.bytes.data(), piece.bytes.size());
  if (piece.length != zrtest::kKeep) *reinterpret_cast<SQLLEN*>(words[5]) = piece.length;
  return piece.code;
}

SQLRETURN passOn(const std::string& name, const Words& w) {
  using Function = SQLRETURN(Word, Word, Word, Word, Word, Word, Word, Word, Word, Word);
  auto* function = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, ("SQL" + name).c_str()));
  return function(w[0], w[1], w[2], w[3], w[4], w[5], w[6], w[7], w[8], w[9]);
}

SQLRETURN answer(const std::string& name, const Words& words) {
  const bool second = static_cast<SQLUSMALLINT>(words[1]) == 2 && odbc.type != 0;
  if (name == "GetDiagRec" && !odbc.diagnostics.empty()) return diagnostic(words);
  if (name == "GetData" && second) return nextPiece(words);
  const SQLRETURN result = passOn(name, words);
  if (!SQL_SUCCEEDED(result)) return result;
  if (name == "GetInfo" && !odbc.dbms.empty()) put(words[2], odbc.dbms);
  if (name == "DescribeCol" && second) *reinterpret_cast<SQLSMALLINT*>(words[5]) = odbc.type;
  if (name == "Fetch") odbc.piece = 0;
  if (static_cast<SQLSMALLINT>(words[0]) != SQL_HANDLE_STMT) {
    odbc.handles += name == "AllocHandle" ? 1 : name == "FreeHandle" ? -1 : 0;
  }
  return result;
}

SQLRETURN enter(const std::string& name, const Words& words) {
  const std::string call = name.ends_with("Handle") ? name + std::to_string(static_cast<short>(words[0])) : name;
  if (call == odbc.throwsIn) throw 42;
  odbc.calls.push_back(call + " " + std::to_string(static_cast<int>(words[1])) + " " +
                       std::to_string(static_cast<int>(words[2])));
  const auto fault = odbc.faults.find(call);
  if (fault == odbc.faults.end() || --fault->second.first != 0) return answer(name, words);
  if (fault->second.second != SQL_ERROR) answer(name, words);  // it did its work, and says so otherwise
  return fault->second.second;
}

bool isOfTheLibrary(void* address) {
  Dl_info info{};
  return dladdr(address, &info) != 0 && std::strstr(info.dli_fname, "libzrpolicy") != nullptr;
}

void* allocate(std::size_t size, void* caller) {
  const bool counts = failing.atLeast > 0 && size >= failing.atLeast && isOfTheLibrary(caller);
  if (counts && --failing.skip < 0) throw std::bad_alloc();
  if (void* memory = std::malloc(size > 0 ? size : 1)) return memory;
  throw std::bad_alloc();
}

}  // namespace

void* operator new(std::size_t size) {
  return allocate(size, __builtin_return_address(0));
}
void* operator new[](std::size_t size) {
  return allocate(size, __builtin_return_address(0));
}

// The counterparts free what malloc gave, which the address sanitizer would take for a mistake.
extern "C" const char* __asan_default_options() {
  return "alloc_dealloc_mismatch=0";
}

extern "C" unsigned sleep(unsigned seconds) {
  odbc.calls.push_back("sleep " + std::to_string(seconds));
  return 0;
}

// Arguments are passed on as they came, in as many words as the longest list has; what they mean is the callee's
// affair.
#define CALL(name)                                                                                      \
  extern "C" SQLRETURN on##name(Word a, Word b, Word c, Word d, Word e, Word f, Word g, Word h, Word i, \
                                Word j) asm("SQL" #name);                                               \
  SQLRETURN on##name(Word a, Word b, Word c, Word d, Word e, Word f, Word g, Word h, Word i, Word j) {  \
    return enter(#name, {a, b, c, d, e, f, g, h, i, j});                                                \
  }
CALL(AllocHandle)
CALL(FreeHandle)
CALL(SetEnvAttr)
CALL(SetConnectOption)
CALL(Connect)
CALL(Disconnect)
CALL(GetInfo)
CALL(GetDiagRec)
CALL(BindParameter)
CALL(ExecDirect)
CALL(ParamData)
CALL(PutData)
CALL(NumResultCols)
CALL(RowCount)
CALL(DescribeCol)
CALL(Fetch)
CALL(GetData)
